#include "contract/children.h"
#include "contract/contract.h"
#include "platform/clock.h"
#include "platform/process.h"
#include "simulation/machine.h"

namespace contract {

namespace {

int runChild() {
    const std::vector<std::wstring> words = platform::commandLineArguments();
    if (words.at(1) == L"--as") {
        return runChildAs();
    }
    platform::sleepMilliseconds(static_cast<std::uint32_t>(std::stoul(words.at(2))));
    return static_cast<int>(std::stoul(words.at(1)));
}

}  // namespace

bool isWine() {
    return false;
}

std::wstring childCommand(std::uint32_t code, std::uint32_t milliseconds) {
    return L"\"C:\\child.exe\" " + std::to_wstring(code) + L" " + std::to_wstring(milliseconds);
}

void runOnMachine(const std::function<void(const std::wstring& scratch)>& body) {
    simulation::Machine machine;
    machine.makeDirectory(L"C:\\scratch");
    machine.installProgram(L"C:\\child.exe", runChild);
    machine.setRegistryText(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon", L"Shell",
                            L"explorer.exe");
    machine.makeRegistryKey(platform::RegistryRoot::currentUser, registryScratch);
    machine.createSemaphore(L"Global\\contract", true);
    const simulation::ProcessEnd end = machine.run({L"C:\\contract.exe"}, [&] {
        body(L"C:\\scratch");
        return 0;
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
}

}  // namespace contract

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    return RUN_ALL_TESTS();
}
