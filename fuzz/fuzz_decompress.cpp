// Compressed streams: any bytes decode to an end or are refused.
#include <initializer_list>

#include "platform/files.h"
#include "scratch.h"
#include "tnc/decompress.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    scratch_silence();
    std::string path = scratch_file(data, size, ".Z");
    file_reader* reader = reader_open(path.c_str());
    if (reader == nullptr) abort();
    decompress_context* context = decompress_open(reader);
    unsigned sum = 0;
    // A code of 9 bits gives at most 8000 bytes.
    for (size_t taken = 0; taken <= size * 8000; ++taken) {
        int byte = decompress_getc(context);
        if (byte < 0) break;
        if (byte > 255 || taken == size * 8000) abort();
        sum += static_cast<unsigned>(byte);
    }
    uint8_t rest[16];
    if (decompress_read(rest, 1, sizeof rest, context) != 0) abort();
    if (sum == 0xFFFFFFFFu) abort();
    decompress_close(context);
    reader_close(reader);
    remove(path.c_str());
    return 0;
}
