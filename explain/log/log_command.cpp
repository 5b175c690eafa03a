#include "explain/log/log_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "explain/command_line.h"
#include "explain/log/log_files.h"
#include "explain/log/log_writer.h"

namespace explain {

int runLog(const std::vector<std::string>& arguments) {
    CLI::App app("Reads logs of the launcher: what happened, why, and what to do.", "zelexplain log");
    std::vector<std::string> paths;
    bool isJson = false;
    app.add_option("FILE_OR_DIRECTORY", paths, "Logs, or directories of logs")->required();
    app.add_flag("--json", isJson, "Print JSON");
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
        const LogFiles files = readLogFiles(paths);
        const std::string text = isJson ? writeLogsJson(files) : writeLogs(files);
        std::fwrite(text.data(), 1, text.size(), stdout);
        return explained;
    } catch (const CLI::CallForHelp&) {
        const std::string help = app.help();
        std::fwrite(help.data(), 1, help.size(), stdout);
        return explained;
    } catch (const std::exception& error) {
        const std::string reason = "zelexplain: " + std::string(error.what()) + "\n";
        std::fwrite(reason.data(), 1, reason.size(), stderr);
        return notExplained;
    }
}

}  // namespace explain
