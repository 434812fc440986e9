// Coded bytes of a line on their way from the file and to it.
#include <algorithm>
#include <cstring>

#include "raster/KRVN/krvcode.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvbytes";

// Tells the file of the bytes taken out of its window.
void account(krv_source* s) {
    if (s->from_window) io_consume(s->c, static_cast<size_t>(s->next - s->start));
    s->from_window = false;
    s->start = s->next = s->end = nullptr;
}

void set_at_hand(krv_source* s, const uint8_t* first, size_t bytes) {
    s->start = s->next = first;
    s->end = first + bytes;
    if (s->beyond != KRV_NO_LIMIT) s->beyond -= bytes;
}

} // namespace

void krv_source_begin(krv_source* s, CFILE* c, uint64_t limit) {
    s->c = c;
    s->start = s->next = s->end = nullptr;
    s->beyond = limit;
    s->from_window = false;
    s->cut = false;
}

void krv_source_over(krv_source* s, const void* block, size_t bytes) {
    krv_source_begin(s, nullptr, 0);
    s->start = s->next = static_cast<const uint8_t*>(block);
    s->end = s->start + bytes;
}

void krv_source_end(krv_source* s) {
    if (s->c == nullptr) return;
    bool unused = !s->from_window && s->next != s->end;
    auto back = static_cast<int64_t>(s->end - s->next);
    account(s);
    if (unused) (void)s->c->io.file_seek(s->c->file, -back, 1);
}

bool krv_source_fill(krv_source* s) {
    if (s->c == nullptr || s->beyond == 0) return false;
    account(s);
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
    io_window(s->c, &next, &end);
    if (next != end) {
        set_at_hand(s, next, static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(end - next), s->beyond)));
        s->from_window = true;
        return true;
    }
    size_t wanted = static_cast<size_t>(std::min<uint64_t>(sizeof s->block, s->beyond));
    size_t moved = io_read(s->c, s->block, wanted);
    if (moved == 0) {
        s->cut = true;
        return false;
    }
    set_at_hand(s, s->block, moved);
    return true;
}

uint64_t krv_source_take(krv_source* s, uint8_t* out, uint64_t bytes) {
    uint64_t taken = 0;
    while (taken < bytes && krv_source_has(s)) {
        auto piece = static_cast<size_t>(std::min<uint64_t>(bytes - taken, static_cast<uint64_t>(s->end - s->next)));
        if (out != nullptr) std::memcpy(out + taken, s->next, piece);
        s->next += piece;
        taken += piece;
    }
    return taken;
}

bool krv_source_word(krv_source* s, uint16_t* word) {
    if (s->end - s->next >= 2) {
        *word = load_u16le(s->next);
        s->next += 2;
        return true;
    }
    uint8_t bytes[2];
    if (krv_source_take(s, bytes, 2) != 2) return false;
    *word = load_u16le(bytes);
    return true;
}

uint64_t krv_source_left(const krv_source* s) {
    auto at_hand = static_cast<uint64_t>(s->end - s->next);
    return s->beyond > KRV_NO_LIMIT - at_hand ? KRV_NO_LIMIT : s->beyond + at_hand;
}

uint8_t* krv_code_buffer(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->code_buffer == nullptr) spec->code_buffer = static_cast<uint8_t*>(mem_alloc(KRV_CODE_BUFFER_SIZE));
    if (spec->code_buffer == nullptr) fail(c, RZL_NO_MEMORY, SOURCE, "code buffer");
    return spec->code_buffer;
}

bool krv_output_begin(krv_output* o, CFILE* c) {
    *o = {};
    o->c = c;
    o->code = krv_code_buffer(c);
    return o->code != nullptr;
}

void krv_output_bytes(krv_output* o, const void* bytes, size_t count) {
    if (o->failed || count == 0) return;
    if (io_write(o->c, bytes, count) != count) {
        o->failed = true;
        return;
    }
    o->written += count;
}

void krv_output_header(krv_output* o, size_t data_bytes, int64_t pixel) {
    int64_t number = has_flag(o->c, FLAG_LINES_FROM_ZERO) ? o->c->line : int64_t{o->c->line} + 1;
    uint8_t header[KRV_LINE_HEADER_SIZE];
    store_u16le(header, KRV_LINE_MARK);
    store_u16le(header + 2, static_cast<uint16_t>((data_bytes + 1) / 2 + 2));
    store_u16le(header + 4, static_cast<uint16_t>(number));
    store_u16le(header + 6, static_cast<uint16_t>(pixel));
    krv_output_bytes(o, header, sizeof header);
}

void krv_output_piece(krv_output* o, int64_t next_pixel) {
    if (has_flag(o->c, FLAG_SCANNABLE)) krv_output_header(o, o->used, o->piece_pixel);
    krv_output_bytes(o, o->code, o->used);
    o->used = 0;
    o->piece_pixel = next_pixel;
}
