// rzl's own commands on any bytes: info, cat and convert end in time and memory that follow the input.
#include "commands.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int rzl_run(int count, char** arguments);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    commands_begin();
    const std::string in = scratch_file(data, size, ".in");
    const std::string out = scratch_file(nullptr, 0, ".out.tif");
    run_bounded(rzl_run, {"rzl", "info", in, "--json"}, size);
    run_bounded(rzl_run, {"rzl", "cat", in}, size);
    run_bounded(rzl_run, {"rzl", "convert", in, out, "--tile", "16"}, size);
    run_bounded(rzl_run, {"rzl", "convert", in, out, "--standard", "GIF"}, size);
    remove(in.c_str());
    remove(out.c_str());
    return 0;
}
