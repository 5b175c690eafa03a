#include "explain/property_files.h"

#include "properties/property_reader.h"

namespace explain {

Entries readPropertyFile(World& world, const std::wstring& path) {
    Entries entries;
    if (world.machine->exists(path) && !world.machine->isDirectory(path)) {
        world.machine->run({path}, [&] {
            entries = loadEntries(path);
            return 0;
        });
    }
    return entries;
}

Entries loadEntries(const std::wstring& path) {
    zellauncher::PropertyList list;
    zellauncher::loadPropertyFile(path, list);
    return {list.begin(), list.end()};
}

}  // namespace explain
