#include "workloads.h"

#include <cstdio>

namespace bench {

std::string propertyFile(std::size_t bytes) {
    constexpr const char* values[] = {
        "C:/Program Files/Company/Client/plugins/com.example.base_",
        "com.example.application.main_with_perspective_",
        "-Xms64m,-Xmx1024m,-Dosgi.framework.extensions=",
        "\\\\\\\\server\\\\share\\\\client\\\\shared\\\\configuration_",
        "true_or_the_value_that_the_administrator_chose_",
    };
    std::string file;
    char line[200];
    for (int i = 0; file.size() < bytes; ++i) {
        if (i % 10 == 9) {
            file += "# The next properties belong to one feature of the client.\r\n";
        }
        std::snprintf(line, sizeof line, "com.example.feature%05d.setting=%s%05d\r\n", i, values[i % 5], i);
        file += line;
    }
    return file;
}

}  // namespace bench
