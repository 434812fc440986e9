// tinct-batch's own commands on any pair: they end in time and memory that follow the input. The first two bytes tell
// how many bytes of the rest are the .tnc file; what is left is its companion, and a pattern as well. The size of all
// tells what is written.
#include "commands.h"
#include "tnc/penpack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int batch_run(int count, char** arguments);

static constexpr const char* TYPES[] = {"tif", "rgb", "gif", "tga", "bmp", "pcx", "jpg", "png",
                                        "pnm", "ras", "ico", "ntf", "hrf", "igs", "ps"};

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    commands_begin();
    const size_t rest = size - 2;
    const size_t split = std::min(static_cast<size_t>(data[0] | data[1] << 8), rest);
    const std::string tnc = scratch_file(data + 2, split, ".tnc");
    const std::string rgb = scratch_file(data + 2 + split, rest - split, ".rgb");
    const std::string out = scratch_file(nullptr, 0, ".out.tif");
    run_bounded(batch_run, {"tinct-batch", "info", tnc, "--json"}, size);
    run_bounded(batch_run, {"tinct-batch", "pick", tnc, "1", "0"}, size);
    run_bounded(batch_run, {"tinct-batch", "samples", tnc, "1"}, size);
    run_bounded(batch_run, {"tinct-batch", "apply", tnc, "--set", "1=1,0.5,0", "-o", out, "--force"}, size);
    const std::string type = TYPES[size % std::size(TYPES)];
    run_bounded(
        batch_run,
        {"tinct-batch", "apply", tnc, "--set", "1=@" + rgb, "--bits", "8", "--type", type, "-o", out, "--force"}, size);
    penpack_release_scratch();
    for (const std::string& file : {tnc, rgb, out})
        remove(file.c_str());
    return 0;
}
