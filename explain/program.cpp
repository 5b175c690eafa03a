#include "explain/program.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <variant>

#include "explain/catalogue_reference.h"
#include "explain/check/check_command.h"
#include "explain/command_line.h"
#include "explain/host_files.h"
#include "explain/json_writer.h"
#include "explain/log/log_command.h"
#include "explain/machine_setup.h"
#include "explain/page_writer.h"
#include "explain/redaction.h"
#include "explain/start.h"
#include "explain/text_writer.h"

namespace explain {

namespace {

void print(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

// The tool never writes into what it looks at.
void refusePageWithin(const StartOptions& options) {
    std::vector<std::string> directories = {options.install.directory};
    std::transform(options.maps.begin(), options.maps.end(), std::back_inserter(directories),
                   [](const Mapping& map) { return map.directory; });
    for (const std::string& directory : directories) {
        if (isRealPathWithin(*options.htmlFile, directory)) {
            throw CannotExplain("--html must be outside of " + directory + ": " + *options.htmlFile);
        }
    }
}

void writePageTo(const std::string& path, const std::vector<Explanation>& starts) {
    if (!writeRealFile(path, writePage(starts))) {
        throw CannotExplain("cannot write the page " + path);
    }
}

std::string briefText(const std::vector<Explanation>& starts, const std::string& page) {
    const Explanation& last = starts.back();
    return outcomeSentence(last) + "\n" + (last.message ? "\n  " + *last.message + "\n\n" : "") +
           "The page with everything is " + page + "\n";
}

void explainStart(const StartOptions& options) {
    if (options.htmlFile) {
        refusePageWithin(options);
    }
    std::vector<Explanation> starts = explainStarts(options);
    if (options.isRedacted) {
        std::for_each(starts.begin(), starts.end(), redact);
    }
    if (options.htmlFile) {
        writePageTo(*options.htmlFile, starts);
    }
    if (options.isJson) {
        print(stdout, writeJson(starts));
    } else if (options.htmlFile) {
        print(stdout, briefText(starts, *options.htmlFile));
    } else {
        print(stdout, writeText(starts, options.hasDiff ? Diffs::shown : Diffs::leftOut));
    }
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
