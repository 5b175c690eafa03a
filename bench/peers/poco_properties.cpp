// bench_poco_properties <file>: for each line of its input, reads the file and prints the nanoseconds.
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>

#include <chrono>
#include <cstdio>

int main(int count, char* arguments[]) {
    if (count != 2) {
        return 1;
    }
    while (std::getchar() == '\n') {
        const auto begin = std::chrono::steady_clock::now();
        const Poco::AutoPtr<Poco::Util::PropertyFileConfiguration> properties(
            new Poco::Util::PropertyFileConfiguration(std::string(arguments[1])));
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
        std::printf("%.0f 0 0\n", time.count());
        std::fflush(stdout);
    }
    return 0;
}
