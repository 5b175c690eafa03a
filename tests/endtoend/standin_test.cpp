#include "endtoend.h"

// The platform of these tests follows its whole script or nothing of it: a test whose script has a command
// that the standin does not know would pass without testing what it says.
namespace {

using endtoend::EndToEnd;
using endtoend::Status;
namespace fs = std::filesystem;

class Standin : public EndToEnd {
protected:
    // Runs it with this script to its end.
    Status run(const std::string& script) {
        layOut();
        placeProgram(L"standin.exe", root / L"standin.exe");
        write(root / L"standin.script", script);
        return waitFor(beginFrom(root / L"standin.exe", {}));
    }
};

TEST_F(Standin, FaultyScriptEndsIt) {
    const std::vector<std::pair<std::string, std::string>> scripts = {
        {"live 0\r\npublish-after 1000\r\n", "publish-after"},
        {"semaphore closed\r\nlive 0\r\n", "semaphore"},
        {"exit\r\nlive 0\r\n", "exit"},
        {"live 0\r\nblank-lines", "blank-lines"},
    };
    for (const auto& [script, fault] : scripts) {
        EXPECT_EQ(run(script), 2U) << script;
        EXPECT_EQ(read(root / L"standin" / L"fault.txt"), fault);
        EXPECT_FALSE(fs::exists(root / L"standin" / L"running.txt"));
    }
}

TEST_F(Standin, ScriptGivesItsExitCode) {
    EXPECT_EQ(run("no-publish\r\nno-pipe\r\nblank-lines 1\r\nsemaphore open\r\nlive 0\r\nexit 7\r\n"), 7U);
    EXPECT_FALSE(fs::exists(root / L"standin" / L"fault.txt"));
}

}  // namespace
