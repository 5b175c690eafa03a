#include <filesystem>
#include <fstream>
#include <set>

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

// What the cases have called so far, of all machines.
std::set<std::string>& calledOperations() {
    static std::set<std::string> names;
    return names;
}

// The machine of the case that runs.
simulation::Machine*& currentMachine() {
    static simulation::Machine* machine = nullptr;
    return machine;
}

// Functions that a header of the seam declares: each stands at the head of a line.
std::vector<std::string> declaredOperations(const std::filesystem::path& header) {
    std::vector<std::string> names;
    std::ifstream file(header);
    for (std::string line; std::getline(file, line);) {
        const std::size_t bracket = line.find('(');
        const std::size_t space = line.rfind(' ', bracket);
        if (bracket != std::string::npos && space != std::string::npos && space > 0 && line[0] != ' ' &&
            line[0] != '/' && line[0] != '#') {
            names.push_back(line.substr(space + 1, bracket - space - 1));
        }
    }
    return names;
}

// Reading the last error and its text are no calls of the system that a machine would count. Ending the
// session really ends it, so no case may.
bool isCounted(const std::string& operation) {
    return operation != "lastError" && operation != "errorText" && operation != "endSession";
}

// After a whole run: no operation of the seam without a case.
class EveryOperation : public testing::Environment {
    void TearDown() override {
        if (testing::GTEST_FLAG(filter) != "*") {
            return;
        }
        std::size_t count = 0;
        for (const auto& header : std::filesystem::directory_iterator(ZELLAUNCHER_SEAM)) {
            const std::vector<std::string> names =
                header.is_regular_file() ? declaredOperations(header.path()) : std::vector<std::string>();
            for (const std::string& name : names) {
                EXPECT_TRUE(!isCounted(name) || calledOperations().count(name) == 1)
                    << "no case calls " << name;
                ++count;
            }
        }
        EXPECT_GT(count, 50U);
    }
};

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
    machine.createSemaphore(L"Global\\contract-denied", false);
    currentMachine() = &machine;
    const simulation::ProcessEnd end = machine.run({L"C:\\contract.exe"}, [&] {
        body(L"C:\\scratch");
        return 0;
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    for (const simulation::Operation& operation : machine.operations()) {
        calledOperations().insert(operation.name);
    }
    currentMachine() = nullptr;
}

void holdSemaphore(const std::wstring& name) {
    simulation::holdSemaphore(name);
}

void servePipe(const std::wstring& name) {
    simulation::servePipe(name);
}

void takeConsole() {
    currentMachine()->setConsole(L"a console");
}

std::vector<std::string> servedTexts(const std::wstring& name, std::size_t count) {
    std::vector<std::string> texts = currentMachine()->pipePayloads(name);
    EXPECT_GE(texts.size(), count);
    return texts;
}

}  // namespace contract

int main(int count, char** words) {
    testing::InitGoogleTest(&count, words);
    testing::AddGlobalTestEnvironment(new contract::EveryOperation);
    return RUN_ALL_TESTS();
}
