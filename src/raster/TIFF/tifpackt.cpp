// TIFF: application packets in a private tag, and the transformation, which is one of them.
//
// The tag's value is a sequence of 16-bit words: packets of type, subtype and a length in words (low word first), each
// followed by so many words. The packet of type 2 and subtype 10 holds the 16 doubles of the transformation.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifinfo";
constexpr uint32_t HEAD_WORDS = 4;
constexpr uint32_t TRANSFORM_WORDS = 64;

bool refuse(CFILE* c, uint32_t status, const char* detail, int line = __builtin_LINE()) {
    fail(c, status, SOURCE, detail, line);
    return false;
}

// A packet's head, in the machine's order.
struct packet_head {
    uint32_t type, subtype, words;
};
packet_head head_of(const uint16_t* words) {
    return {words[0], words[1], words[2] | static_cast<uint32_t>(words[3]) << 16};
}
bool is_transform(const packet_head& head) {
    return head.type == 2 && head.subtype == 10;
}

bool read_words(CFILE* c, int64_t place, uint16_t* words, size_t count) {
    auto* bytes = reinterpret_cast<uint8_t*>(words);
    if (!tif_read_at(c, place, bytes, count * 2)) return false;
    tif_copy_values(tif_spec_of(c), TIF_SHORT, bytes, bytes, count);
    return true;
}

// Reads all words of the tag into `words`. False: damaged, with the status set.
bool read_packets(CFILE* c, const tif_image* image, uint16_t* words) {
    if (!read_words(c, image->packet_offset, words, image->packet_words)) {
        return refuse(c, RZL_READ_FAILED, "Packet data");
    }
    uint64_t at = 0;
    while (at + HEAD_WORDS <= image->packet_words) {
        uint64_t end = at + HEAD_WORDS + head_of(words + at).words;
        if (end > image->packet_words) return refuse(c, RZL_READ_FAILED, "Packet data");
        at = end;
    }
    return true;
}

// The packets without the transformation, moved together. The words that are left.
uint32_t drop_transform(uint16_t* words, uint32_t count) {
    uint32_t at = 0;
    uint32_t kept = 0;
    while (at < count) {
        uint64_t size = count - at;
        bool drops = false;
        if (size >= HEAD_WORDS) {
            packet_head head = head_of(words + at);
            size = std::min(size, uint64_t{head.words} + HEAD_WORDS);
            drops = is_transform(head);
        }
        if (!drops) std::memmove(words + kept, words + at, static_cast<size_t>(size) * 2);
        if (!drops) kept += static_cast<uint32_t>(size);
        at += static_cast<uint32_t>(size);
    }
    return kept;
}

bool has_stored_packets(const tif_image* image) {
    return (image->flags & TIF_IN_FILE) != 0 && image->packet_offset != 0 && image->packet_words != 0;
}

// What the application gave, or what the file has, into `words`.
bool gather_packets(CFILE* c, const tif_image* image, uint16_t* words) {
    if (image->packet_data != nullptr) {
        std::memcpy(words, image->packet_data, size_t{image->packet_words} * 2);
        return true;
    }
    return read_packets(c, image, words);
}

} // namespace

// Walks over the heads. No more steps than the tag can have packets with something in them, and no memory.
bool tif_find_transform(CFILE* c, tif_image* image) {
    if (image->packet_offset == 0 || image->packet_words < HEAD_WORDS) return true;
    uint64_t at = 0;
    while (at + HEAD_WORDS <= image->packet_words) {
        int64_t place = int64_t{image->packet_offset} + static_cast<int64_t>(at * 2);
        uint16_t words[TRANSFORM_WORDS];
        if (!read_words(c, place, words, HEAD_WORDS)) return false;
        packet_head head = head_of(words);
        at += HEAD_WORDS + uint64_t{head.words};
        if (!is_transform(head) || head.words != TRANSFORM_WORDS) continue;
        if (!read_words(c, place + HEAD_WORDS * 2, words, TRANSFORM_WORDS)) return false;
        for (size_t i = 0; i < 16; ++i) {
            uint8_t bytes[8];
            for (size_t w = 0; w < 4; ++w)
                store_u16le(bytes + 2 * w, words[4 * i + w]);
            image->transform[i] = load_f64le(bytes);
        }
        image->flags |= TIF_HAS_TRANSFORM;
        return true;
    }
    return true;
}

int tif_get_packet(CFILE* c, void* buffer) {
    const tif_image* image = tif_image_of(c);
    if (image->packet_offset == 0 || image->packet_words < 1) {
        return tif_refuse(c, RZL_NO_PACKETS, SOURCE, "Application packet not found");
    }
    mem_guard<uint16_t> words(nullptr);
    // The caller's buffer need not be aligned, and is not touched by packets that are damaged.
    if (int64_t{image->packet_words} * 2 <= io_size(c)) words.block = mem_new_array<uint16_t>(image->packet_words);
    if (!words) return tif_refuse(c, RZL_READ_FAILED, SOURCE, "Packet data");
    if (!read_packets(c, image, words.get())) return 1;
    std::memcpy(buffer, words.get(), size_t{image->packet_words} * 2);
    return 0;
}

int tif_put_packet(CFILE* c, const void* buffer) {
    tif_image* image = tif_image_of(c);
    if (image->packet_words == 0) return 0;
    image->packet_data = buffer;
    image->packet_offset = 0;
    image->flags |= TIF_PACKETS_NEW;
    return 0;
}

// Null words: there is nothing to be written, or what the file has stays.
bool tif_make_packets(CFILE* c, tif_image* image, uint8_t** packets, uint32_t* count) {
    *packets = nullptr;
    *count = 0;
    bool fresh = (image->flags & TIF_PACKETS_NEW) != 0;
    if ((image->subfile_type & 1) != 0 || !fresh) return true;
    bool transform = (image->flags & TIF_HAS_TRANSFORM) != 0;
    bool given = image->packet_data != nullptr || has_stored_packets(image);
    uint32_t words = given ? image->packet_words : 0;
    uint32_t head = transform ? HEAD_WORDS + TRANSFORM_WORDS : 0;
    if (words > UINT32_MAX - head || words + head == 0) return true;
    mem_guard<uint16_t> block(mem_new_array<uint16_t>(size_t{words} + head));
    if (!block) return refuse(c, RZL_NO_MEMORY, "Malloc Failed");
    if (given && !gather_packets(c, image, block.get() + head)) return false;
    words = drop_transform(block.get() + head, words);
    if (transform) {
        const uint16_t start[HEAD_WORDS] = {2, 10, TRANSFORM_WORDS, 0};
        std::memcpy(block.get(), start, sizeof start);
        for (size_t i = 0; i < 16; ++i) {
            uint8_t bytes[8];
            store_f64le(bytes, image->transform[i]);
            for (size_t w = 0; w < 4; ++w)
                block[HEAD_WORDS + 4 * i + w] = load_u16le(bytes + 2 * w);
        }
    }
    *count = words + head;
    *packets = reinterpret_cast<uint8_t*>(block.keep());
    return true;
}
