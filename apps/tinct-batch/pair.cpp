#include "pair.h"

#include "common/program.h"
#include "common/raster.h"
#include "core/open_image.h"
#include "raster/rzl.h"
#include "support/log.h"

namespace {

// What is there but can't be read is told ahead of the pair's own messages.
bool is_readable(const char* path) {
    if (!files_exists(path) || files_input_fault(path) == nullptr) return true;
    program_fail_reading(path, "");
    return false;
}

bool companion_of(const char* tnc_path, pair* p) {
    if (!is_readable(tnc_path)) return false;
    if (find_companion(tnc_path, p->raster, sizeof p->raster)) return check_pair(tnc_path, p->raster) != 0;
    program_fail("The path \"%.200s\" is too long.", tnc_path);
    return false;
}

// The raster's size. Its lines are passed over without being kept: a raster that was cut must not go unnoticed, and the
// lines that it claims decide how much memory the .tnc file's data takes.
bool look_at_raster(pair* p) {
    char name[PLAIN_NAME_SIZE];
    CFILE* file = rzl_open_r(plain_name(p->raster, name));
    if (file == nullptr) {
        if (is_readable(p->raster)) program_fail("Failed to open \"%s\" for read as RGB file.", p->raster);
        return false;
    }
    bool good = rzl_get_hdr_data(file, RZL_FIELD_XSIZE, &p->width) == 0 &&
                rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &p->height) == 0 && raster_is_whole(file, p->raster);
    rzl_close(file);
    return good;
}

} // namespace

bool pair_check(const char* tnc_path, pair* p) {
    *p = {};
    return companion_of(tnc_path, p) && look_at_raster(p);
}

bool pair_open(const char* tnc_path, pair* p) {
    if (!pair_check(tnc_path, p)) return false;
    p->image = tnc_read(tnc_path, p->height, p->width);
    if (p->image == nullptr) return false;
    if (!p->image->complete && !p->image->reason_told)
        log_message(LOG_WARNING, "\"%s\" ends early: the file is cut.", tnc_path);
    return true;
}

void pair_close(pair* p) {
    tnc_free(p->image);
    p->image = nullptr;
}
