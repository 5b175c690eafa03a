// bench_workload <bytes>: writes a property file of about this size to its output.
#include <cstdio>
#include <cstdlib>

#include "workloads.h"

int main(int count, char* arguments[]) {
    if (count != 2) {
        return 1;
    }
    const std::string file = bench::propertyFile(std::strtoull(arguments[1], nullptr, 10));
    return std::fwrite(file.data(), 1, file.size(), stdout) == file.size() ? 0 : 1;
}
