#include "pair.h"

#include "common/program.h"
#include "common/raster.h"
#include "core/open_image.h"
#include "raster/rzl.h"
#include "support/log.h"

namespace {

// The raster's size. Its lines are passed over without being kept, since a raster that was cut must not go unnoticed.
bool look_at_raster(const char* path, int32_t* width, int32_t* height) {
    char name[PLAIN_NAME_SIZE];
    CFILE* file = rzl_open_r(plain_name(path, name));
    if (file == nullptr) {
        program_fail("Failed to open \"%s\" for read as RGB file.", path);
        return false;
    }
    bool good =
        rzl_get_hdr_data(file, RZL_FIELD_XSIZE, width) == 0 && rzl_get_hdr_data(file, RZL_FIELD_YSIZE, height) == 0;
    if (good) raster_is_whole(file, path); // what is there can be looked at all the same
    rzl_close(file);
    return good;
}

} // namespace

bool pair_open(const char* tnc_path, pair* p) {
    *p = {};
    if (!find_companion(tnc_path, p->raster, sizeof p->raster)) {
        program_fail("The path \"%.200s\" is too long.", tnc_path);
        return false;
    }
    if (check_pair(tnc_path, p->raster) == 0) return false;
    if (!look_at_raster(p->raster, &p->width, &p->height)) return false;
    p->image = tnc_read(tnc_path, p->height);
    if (p->image == nullptr) return false;
    if (!p->image->complete) log_message(LOG_WARNING, "\"%s\" ends early: the file is cut.", tnc_path);
    return true;
}

void pair_close(pair* p) {
    tnc_free(p->image);
    p->image = nullptr;
}
