#include "explain/property_files.h"

#include "properties/property_reader.h"

namespace explain {

zellauncher::PropertyList readPropertyFile(World& world, const std::wstring& path) {
    zellauncher::PropertyList list;
    if (world.machine->exists(path) && !world.machine->isDirectory(path)) {
        world.machine->run({path}, [&] {
            zellauncher::loadPropertyFile(path, list);
            return 0;
        });
    }
    return list;
}

}  // namespace explain
