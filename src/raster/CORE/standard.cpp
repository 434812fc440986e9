// The standards: their names, the modules that implement them, and the choice of one for a file being created.
#include "raster/CORE/cfile.h"

#include <cstdlib>
#include <iterator>

#include "raster/GIF/gif.h"
#include "raster/KRVN/krv.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/standard";

// A new format is one row here, and one row of the detection table for reading.
constexpr format_module MODULES[] = {
    {RZL_STANDARD_KRVN, "KRVN", krv_open, krv_initialise},
    {RZL_STANDARD_GIF, "GIF", gif_open, gif_initialise},
    {RZL_STANDARD_TIFF, "TIFF", tif_open, tif_initialise},
};

// By id. Id 7 is no format.
constexpr const char* STANDARD_NAMES[] = {"KRVN", "TIFF", "GIF",  "TGA",  "BMP",  "PCX",        "JFIF", nullptr,
                                          "ADRG", "ICO",  "SYM",  "CALS", "NITF", "XBM",        "PNM",  "SUN",
                                          "USGS", "MRG",  "ASRP", "HRF",  "IGS",  "POSTSCRIPT", "USRP"};
constexpr int32_t STANDARD_COUNT = static_cast<int32_t>(std::size(STANDARD_NAMES));

// The standard of a file whose program has not chosen one.
int32_t standard_of_environment() {
    const char* text = std::getenv("RZL_STANDARD");
    long id = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return id >= 0 && id <= INT32_MAX ? static_cast<int32_t>(id) : 0;
}

// The module that can create files of a standard: the native one when there is none for it.
const format_module* creating_module(int32_t id) {
    const format_module* module = find_module(id);
    if (module != nullptr && module->initialise != nullptr) return module;
    if (debug_level() != 0) rzl_report(RZL_NO_SUCH_FIELD, SOURCE, __LINE__, "Unknown standard ");
    return find_module(RZL_STANDARD_KRVN);
}

void drop_spec(CFILE* c) {
    if (c->standard >= 0) c->slots.Free_specs(c);
    mem_free(c->spec);
    c->spec = nullptr;
}

// After a failure the handle has no standard, so that the next choice starts over.
int initialise_standard(CFILE* c, int32_t id) {
    const format_module* module = creating_module(id);
    drop_spec(c);
    rzl_set_default_slots(c);
    c->standard = module->standard;
    int result = module->initialise(c);
    if (result == 0) return 0;
    mem_free(c->spec);
    c->spec = nullptr;
    rzl_set_default_slots(c);
    c->standard = -1;
    return result;
}

} // namespace

const format_module* find_module(int32_t standard) {
    for (const format_module& module : MODULES) {
        if (module.standard == standard) return &module;
    }
    return nullptr;
}

// On a file that can't be created any more the standard is what it is. Once the header stands in the file, or a further
// image of it is being made, a choice is passed over.
int rzl_set_standard(CFILE* c, int32_t id) {
    if (!handle_enter(c, "rzl_set_standard")) return 1;
    if (!is_writable(c)) {
        fail(c, RZL_NEEDS_WRITE, SOURCE, "rzl_set_standard");
        return handle_leave(c, 1);
    }
    if (has_flag(c, FLAG_HEADER_EXISTS) || c->active_image != 0) return handle_leave(c, 0);
    int32_t wanted = id >= 0 ? id : standard_of_environment();
    int result = c->standard == wanted ? 0 : initialise_standard(c, wanted);
    read_debug_level();
    return handle_leave(c, result);
}

const char* rzl_standard_name(int32_t id) {
    return id >= 0 && id < STANDARD_COUNT ? STANDARD_NAMES[id] : nullptr;
}

int rzl_standard_support(int32_t id, int* can_create, int* can_read) {
    const format_module* module = find_module(id);
    if (can_create != nullptr) *can_create = module != nullptr && module->initialise != nullptr ? 1 : 0;
    if (can_read != nullptr) *can_read = module != nullptr && module->open != nullptr ? 1 : 0;
    return rzl_standard_name(id) != nullptr ? 0 : 1;
}
