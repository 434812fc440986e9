// Native files of CCITT data, formats 23 and 24: their lines through the fax codec.
//
// The coded image stands in one piece where the lines of other formats begin. It is written when its last line has
// come, or when the file is left for another image before.
#include "raster/CCITT/citfile.h"
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvccitt";

cit_extent coded_extent(CFILE* c) {
    int64_t begin = krv_first_line(c);
    bool aligned = false;
    return {begin, krv_target_end(c, begin, &aligned)};
}

// Pieces of lines are not how this data comes.
bool is_served(CFILE* c) {
    if (c->ccitt != nullptr && !has_flag(c, FLAG_SCANNABLE) && c->xsize > 0) return true;
    krv_refuse_format(c, SOURCE);
    return false;
}

void account(CFILE* c, size_t written) {
    if (written != 0) krv_add_overview_bytes(c, static_cast<uint32_t>(written));
}

} // namespace

bool krv_is_coded(const CFILE* c) {
    return c->format == RZL_FORMAT_GROUP3 || c->format == RZL_FORMAT_GROUP4;
}

int krv_get_coded_line(CFILE* c, int channels, read_planes buffers) {
    if (!is_served(c)) {
        ++c->line;
        return 0;
    }
    cit_get_result result = CIT_GET_GOOD;
    if (channels > 0 && buffers[0] != nullptr) {
        cit_extent extent = coded_extent(c);
        result = c->format == RZL_FORMAT_GROUP3 ? cit_g3_get_line(c, extent, buffers[0])
                                                : cit_g4_get_line(c, extent, buffers[0]);
    }
    ++c->line;
    return result == CIT_GET_FAILED ? 0 : c->xsize;
}

int krv_put_coded_line(CFILE* c, int channels, write_planes buffers) {
    if (!is_served(c)) return 0;
    const uint8_t* bits = channels > 0 ? buffers[0] : nullptr;
    size_t written = 0;
    int result =
        c->format == RZL_FORMAT_GROUP3 ? cit_g3_put_line(c, bits, &written) : cit_g4_put_line(c, bits, &written);
    account(c, written);
    return result == 0 ? c->xsize : 0;
}

int krv_get_coded_strip(CFILE* c, int channels, read_planes buffers) {
    if (c->format != RZL_FORMAT_GROUP4 || !is_served(c)) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    // No buffer can only be asked for the size.
    uint8_t* runs = channels > 0 ? buffers[0] : nullptr;
    if (runs == nullptr) c->rle_size = 0;
    int bytes = cit_g4_get_strip(c, coded_extent(c), runs);
    if (bytes > 0) ++c->line;
    return bytes;
}

bool krv_finish_coded(CFILE* c) {
    size_t written = 0;
    bool done = cit_file_finish(c, &written) == 0;
    account(c, written);
    return done;
}
