// Response files: any bytes expand or are refused, and the options can be read through.
#include "desktop/arguments.h"
#include "scratch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    scratch_silence();
    std::string path = "@" + scratch_file(data, size, ".args");
    const char* words[] = {"tinct", path.c_str(), "-x"};
    argument_list list = {nullptr, 0};
    if (expand_arguments(3, words, "p:f:", &list)) {
        reset_options();
        while (get_option(list.count, list.values, "p:f:") >= 0) {
            const char* argument = get_option_argument();
            if (argument != nullptr && argument[0] == '\1') continue;
        }
    }
    argument_list_free(&list);
    remove(path.c_str() + 1);
    return 0;
}
