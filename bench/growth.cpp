// How the launcher's time grows with its input, on the simulated machine.
#include <benchmark/benchmark.h>

#include <string>

#include "foundation/directory_removal.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "on_machine.h"
#include "platform/files.h"
#include "properties/property_list.h"
#include "properties/property_reader.h"
#include "properties/substitution.h"
#include "workloads.h"

namespace {

using zellauncher::PropertyList;

constexpr const wchar_t* file = L"C:\\large.properties";

std::wstring numbered(const wchar_t* name, std::int64_t number) {
    return name + std::to_wstring(number);
}

// By the size of the file in bytes.
void readProperties(benchmark::State& state) {
    const std::string content = bench::propertyFile(static_cast<std::size_t>(state.range(0)));
    simulation::Machine machine;
    machine.writeFile(file, content);
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            PropertyList list;
            zellauncher::loadPropertyFile(file, list);
            benchmark::DoNotOptimize(list.size());
        }
    });
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(content.size()));
}
BENCHMARK(readProperties)->RangeMultiplier(10)->Range(10'000, 10'000'000);

// The time of one lookup, by the number of properties.
void lookUpProperty(benchmark::State& state) {
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        PropertyList list;
        for (std::int64_t i = 0; i < state.range(0); ++i) {
            list.push_back({numbered(L"com.example.feature", i), std::wstring(L"value")});
        }
        std::int64_t number = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(
                zellauncher::findProperty(numbered(L"com.example.feature", number), list));
            number = (number + 7919) % state.range(0);
        }
    });
}
BENCHMARK(lookUpProperty)->RangeMultiplier(10)->Range(100, 100'000);

// By the number of properties, each of which names another one.
void substituteProperties(benchmark::State& state) {
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            state.PauseTiming();
            PropertyList list;
            for (std::int64_t i = 0; i < state.range(0); ++i) {
                list.push_back({numbered(L"x", i), numbered(L"${prop.y", i) + L"}/plugins"});
            }
            for (std::int64_t i = 0; i < state.range(0); ++i) {
                list.push_back({numbered(L"y", i), numbered(L"C:/Company/Client", i)});
            }
            state.ResumeTiming();
            zellauncher::substitutePropertyList(L"C:\\data", L"C:\\home", list);
        }
    });
}
BENCHMARK(substituteProperties)->RangeMultiplier(10)->Range(100, 100'000);

// By the number of tokens in one value.
void substituteTokens(benchmark::State& state) {
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        const PropertyList list = {{L"key", std::wstring(L"value")}};
        std::wstring tokens;
        for (std::int64_t i = 0; i < state.range(0); ++i) {
            tokens += L"${prop.key};";
        }
        for (auto _ : state) {
            std::wstring text = tokens;
            zellauncher::substituteProperties(text, list);
        }
    });
}
BENCHMARK(substituteTokens)->RangeMultiplier(10)->Range(100, 100'000);

void formatText(benchmark::State& state) {
    const std::wstring argument(static_cast<std::size_t>(state.range(0)), L'x');
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            zellauncher::formatText(L"ZLNCH0071I: Modified prop_contents %s", {argument}));
    }
}
BENCHMARK(formatText)->RangeMultiplier(10)->Range(10, 10'000);

// A line of the log, by its length; held back, because no log file is open.
void logLine(benchmark::State& state) {
    const std::wstring argument(static_cast<std::size_t>(state.range(0)), L'x');
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            zellauncher::logMessageF("ZLNCH0131I: %ls", argument);
        }
    });
}
BENCHMARK(logLine)->RangeMultiplier(10)->Range(10, 10'000)->Iterations(1000);

// By the number of components of the path.
void convertPath(benchmark::State& state) {
    std::wstring path = L"C:";
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        path += L"/directory";
    }
    simulation::Machine machine;
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            benchmark::DoNotOptimize(zellauncher::toLongPath(path));
        }
    });
}
BENCHMARK(convertPath)->RangeMultiplier(10)->Range(10, 1000);

void fill(simulation::Machine& machine, std::int64_t files) {
    for (std::int64_t i = 0; i < files; ++i) {
        machine.writeFile(numbered(L"C:\\tree\\", i / 100) + numbered(L"\\file", i), "");
    }
}

// By the number of files, a hundred in each directory. They are removed once.
void removeFiles(benchmark::State& state) {
    simulation::Machine machine;
    fill(machine, state.range(0));
    bench::onMachine(machine, [&] {
        for (auto _ : state) {
            std::wstring errors;
            if (!zellauncher::removeDirectory(L"C:\\tree", errors)) {
                state.SkipWithError("not removed");
            }
        }
    });
}
BENCHMARK(removeFiles)
    ->RangeMultiplier(10)
    ->Range(100, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace
