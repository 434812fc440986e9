// rzl's own commands on any bytes: info, cat and convert end in time and memory that follow the input.
#include "commands.h"
#include "raster/rzl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int rzl_run(int count, char** arguments);

// The pixels of a line, where the library takes it that the file holds one.
static int64_t width_of(const std::string& path) {
    CFILE* file = rzl_open_r(path.c_str());
    if (file == nullptr) return 0;
    int32_t width = 0;
    if (rzl_lines_held(file) > 0) rzl_get_hdr_data(file, RZL_FIELD_XSIZE, &width);
    rzl_close(file);
    return width;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    commands_begin();
    const std::string in = scratch_file(data, size, ".in");
    const std::string out = scratch_file(nullptr, 0, ".out.tif");
    const int64_t width = width_of(in);
    run_bounded(rzl_run, {"rzl", "info", in, "--json"}, size, width);
    run_bounded(rzl_run, {"rzl", "cat", in}, size, width);
    run_bounded(rzl_run, {"rzl", "convert", in, out, "--tile", "16"}, size, width);
    run_bounded(rzl_run, {"rzl", "convert", in, out, "--standard", "GIF"}, size, width);
    remove(in.c_str());
    remove(out.c_str());
    return 0;
}
