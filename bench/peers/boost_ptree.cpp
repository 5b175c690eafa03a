// bench_boost_ptree <file>: for each line of its input, reads the file as INI and prints the nanoseconds and
// the number of keys.
#include <boost/property_tree/ini_parser.hpp>
#include <chrono>
#include <cstdio>

int main(int count, char* arguments[]) {
    if (count != 2) {
        return 1;
    }
    while (std::getchar() == '\n') {
        const auto begin = std::chrono::steady_clock::now();
        boost::property_tree::ptree tree;
        boost::property_tree::read_ini(arguments[1], tree);
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
        std::printf("%.0f 0 %zu\n", time.count(), tree.size());
        std::fflush(stdout);
    }
    return 0;
}
