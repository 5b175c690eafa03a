#include "on_machine.h"

namespace bench {

void onMachine(simulation::Machine& machine, const std::function<void()>& body) {
    machine.run({L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe"}, [&] {
        body();
        return 0;
    });
}

}  // namespace bench
