#include "explain/program.h"

#include <cstdio>
#include <exception>
#include <string>
#include <variant>

#include "explain/catalogue_reference.h"
#include "explain/check/check_command.h"
#include "explain/command_line.h"
#include "explain/json_writer.h"
#include "explain/log/log_command.h"
#include "explain/machine_setup.h"
#include "explain/start.h"
#include "explain/text_writer.h"

namespace explain {

namespace {

void print(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

void explainStart(const StartOptions& options) {
    const std::vector<Explanation> starts = explainStarts(options);
    print(stdout, options.isJson ? writeJson(starts)
                                 : writeText(starts, options.hasDiff ? Diffs::shown : Diffs::leftOut));
}

}  // namespace

int runProgram(const std::vector<std::string>& arguments) {
    if (!arguments.empty() && arguments.front() == "check") {
        return runCheck({arguments.begin() + 1, arguments.end()});
    }
    if (!arguments.empty() && arguments.front() == "log") {
        return runLog({arguments.begin() + 1, arguments.end()});
    }
    if (arguments == std::vector<std::string>{"reference"}) {
        print(stdout, writeReference());
        return explained;
    }
    const std::variant<StartOptions, Answer> request = readCommandLine(arguments);
    if (const Answer* answer = std::get_if<Answer>(&request)) {
        print(answer->status == explained ? stdout : stderr, answer->text);
        return answer->status;
    }
    try {
        explainStart(std::get<StartOptions>(request));
    } catch (const std::exception& error) {
        print(stderr, "zelexplain: " + std::string(error.what()) + "\n");
        return notExplained;
    }
    return explained;
}

}  // namespace explain
