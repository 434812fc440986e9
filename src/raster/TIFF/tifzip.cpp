// The coder of deflated segments: zlib's, in one call each, with memory through the seam. Its counts have 32 bits, so
// that more goes in pieces.
#include <algorithm>
#include <climits>

#include <zlib.h>

#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

voidpf take_memory(voidpf, uInt count, uInt size) {
    return mem_alloc_array(count, size);
}
void give_memory(voidpf, voidpf block) {
    mem_free(block);
}

z_stream new_stream() {
    z_stream stream = {};
    stream.zalloc = take_memory;
    stream.zfree = give_memory;
    return stream;
}

uInt piece(size_t bytes) {
    return static_cast<uInt>(std::min<size_t>(bytes, UINT_MAX));
}

// Runs a coder over all of the source, or up to the end of the room. The bytes written; *result is zlib's last word.
size_t run(z_stream* stream, int (*code)(z_stream* stream, int flush), const uint8_t* source, size_t size,
           uint8_t* target, size_t room, int* result) {
    size_t left = size;
    size_t free = room;
    bool more = true;
    stream->next_in = const_cast<uint8_t*>(source);
    stream->next_out = target;
    while (more) {
        if (stream->avail_in == 0) left -= stream->avail_in = piece(left);
        if (stream->avail_out == 0) free -= stream->avail_out = piece(free);
        *result = code(stream, left == 0 ? Z_FINISH : Z_NO_FLUSH);
        bool goes_on = *result == Z_OK || *result == Z_BUF_ERROR;
        more = goes_on && ((stream->avail_in == 0 && left > 0) || (stream->avail_out == 0 && free > 0));
    }
    return room - free - stream->avail_out;
}

} // namespace

bool tif_zip_decode(const uint8_t* source, size_t size, uint8_t* target, size_t limit, size_t* filled) {
    *filled = 0;
    z_stream stream = new_stream();
    if (inflateInit(&stream) != Z_OK) return false;
    int result = Z_OK;
    *filled = run(&stream, inflate, source, size, target, limit, &result);
    (void)inflateEnd(&stream);
    return result != Z_MEM_ERROR;
}

size_t tif_zip_bound(size_t length) {
    return length + length / 1000 + 128;
}

bool tif_zip_encode(const uint8_t* source, size_t length, uint8_t* target, size_t room, size_t* coded) {
    *coded = 0;
    z_stream stream = new_stream();
    if (deflateInit(&stream, Z_DEFAULT_COMPRESSION) != Z_OK) return false;
    int result = Z_OK;
    *coded = run(&stream, deflate, source, length, target, room, &result);
    (void)deflateEnd(&stream);
    return result == Z_STREAM_END;
}
