#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "contract/children.h"
#include "contract/contract.h"
#include "platform/clock.h"
#include "platform/own_process.h"
#include "simulation/machine.h"

namespace contract {

namespace {

constexpr const wchar_t* childPath = L"C:\\child.exe";

// Names of the operations that the tests have called so far, on all machines.
std::set<std::string>& calledOperations() {
    static std::set<std::string> names;
    return names;
}

// The machine of the current test.
simulation::Machine*& currentMachine() {
    static simulation::Machine* machine = nullptr;
    return machine;
}

// Names of the functions that a header of the system interface declares. Each declaration begins in the
// first column.
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

// The simulated machine does not record lastError and errorText. No test may call endSession, because on
// Windows it ends the session.
bool needsTest(const std::string& operation) {
    return operation != "lastError" && operation != "errorText" && operation != "endSession";
}

// Fails a run of all tests if an operation of the system interface was never called.
class EveryOperation : public testing::Environment {
    void TearDown() override {
        if (testing::GTEST_FLAG(filter) != "*") {
            return;
        }
        std::size_t count = 0;
        for (const auto& header : std::filesystem::directory_iterator(ZELLAUNCHER_SYSTEM_INTERFACE)) {
            const std::vector<std::string> names =
                header.is_regular_file() ? declaredOperations(header.path()) : std::vector<std::string>();
            for (const std::string& name : names) {
                EXPECT_TRUE(!needsTest(name) || calledOperations().count(name) == 1)
                    << "no test calls " << name;
                ++count;
            }
        }
        EXPECT_GT(count, 50U);
    }
};

// Fails a run that has skipped a test: the simulated machine must show everything that the suite asks for.
class NoneSkipped : public testing::Environment {
    void TearDown() override {
        const testing::UnitTest& run = *testing::UnitTest::GetInstance();
        for (int i = 0; i < run.total_test_suite_count(); ++i) {
            const testing::TestSuite& suite = *run.GetTestSuite(i);
            for (int j = 0; j < suite.total_test_count(); ++j) {
                const testing::TestInfo& test = *suite.GetTestInfo(j);
                EXPECT_FALSE(test.result()->Skipped())
                    << suite.name() << "." << test.name() << " was skipped";
            }
        }
    }
};

}  // namespace

bool isWine() {
    return false;
}

std::wstring childProgram() {
    return std::wstring(L"\"") + childPath + L"\"";
}

void runOnMachine(const std::function<void(const std::wstring& scratch)>& body) {
    simulation::Machine machine;
    machine.reuseProcessIds();
    machine.makeDirectory(L"C:\\scratch");
    machine.installProgram(childPath, runAsChild);
    machine.setRegistryText(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon", L"Shell",
                            L"explorer.exe");
    machine.makeRegistryKey(platform::RegistryRoot::currentUser, registryScratch);
    machine.createSemaphore(L"Global\\contract", simulation::SemaphoreAccess::granted);
    machine.createSemaphore(L"Global\\contract-denied", simulation::SemaphoreAccess::denied);
    currentMachine() = &machine;
    bool hasBodyReturned = false;
    machine.run({L"C:\\contract.exe"}, [&] {
        body(L"C:\\scratch");
        hasBodyReturned = true;
        return 0;
    });
    EXPECT_TRUE(hasBodyReturned) << "the process ended inside the test";
    for (const simulation::Operation& operation : machine.operations()) {
        calledOperations().insert(operation.name);
    }
    currentMachine() = nullptr;
}

void setScratchBytes(const std::wstring& valueName, const std::string& bytes) {
    currentMachine()->setRegistryBytes(platform::RegistryRoot::currentUser, registryScratch, valueName,
                                       bytes);
}

void holdSemaphore(const std::wstring& name) {
    simulation::holdSemaphore(name);
}

void servePipe(const std::wstring& name) {
    simulation::readPipe(name);
}

void createPipe(const std::wstring& name) {
    simulation::servePipeWithoutReading(name, 65536);
}

std::vector<std::string> servedTexts(const std::wstring& name, std::size_t count) {
    while (count > 0 && currentMachine()->hasPipeClient(name)) {
        platform::sleepMilliseconds(10);
    }
    std::vector<std::string> texts = currentMachine()->pipePayloads(name);
    EXPECT_GE(texts.size(), count);
    return texts;
}

wchar_t missingDrive() {
    return L'Q';
}

bool isUserOfThisMachine() {
    return true;
}

std::vector<std::wstring> spellingsOf(const std::wstring& variable) {
    std::vector<std::wstring> names;
    for (const auto& [name, value] : currentMachine()->environmentOf(platform::currentProcessId())) {
        std::wstring upper = name;
        std::transform(upper.begin(), upper.end(), upper.begin(), std::towupper);
        if (upper == variable) {
            names.push_back(name);
        }
    }
    return names;
}

void takeConsole() {
    currentMachine()->setConsole(L"a console");
}

bool hasConsoleWindow() {
    return true;
}

}  // namespace contract

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    testing::AddGlobalTestEnvironment(new contract::EveryOperation);
    testing::AddGlobalTestEnvironment(new contract::NoneSkipped);
    return RUN_ALL_TESTS();
}
