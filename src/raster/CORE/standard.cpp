// The table of standards, and the choice of one for a file being created.
#include "raster/CORE/standard.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <strings.h>

#include "raster/CORE/module.h"

// What each format's directory defines, besides functions of its own.
extern const format_module krv_module;
extern const format_module krv_text_module;
extern const format_module tif_module;
extern const format_module tif_eps_module;
extern const format_module gif_module;
extern const format_module bmp_module;
extern const format_module tga_module;
extern const format_module pcx_module;
extern const format_module pnm_module;
extern const format_module mrg_module;
extern const format_module jfif_module;
extern const format_module png_module;
extern const format_module sun_module;
extern const format_module xbm_module;
extern const format_module ico_module;
extern const format_module sym_module;
extern const format_module ps_module;
extern const format_module cals_module;
extern const format_module hrf_module;
extern const format_module ir_module;
extern const format_module nitf_module;
extern const format_module sut_module;
extern const format_module adrg_module;
extern const format_module asrp_module;
extern const format_module usgs_module;

namespace {

// What is built without a library that it needs.
#if TINCT_JPEG
constexpr const format_module* JFIF_MODULE = &jfif_module;
#else
constexpr const format_module* JFIF_MODULE = nullptr;
#endif
#if TINCT_PNG
constexpr const format_module* PNG_MODULE = &png_module;
#else
constexpr const format_module* PNG_MODULE = nullptr;
#endif

constexpr char SOURCE[] = "CORE/standard";

// In the order of detection: the first test that holds decides, so the order is part of what a file means. Names of
// companion files come before the looser tests, the formats without a magic number last. A row whose module is null
// recognises its files and answers for them like for a file of no known format.
constexpr standard_row STANDARDS[] = {
    {
        .id = RZL_STANDARD_KRVN,
        .name = "KRVN",
        .extensions = "rgb",
        .test = is_native,
        .module = &krv_module,
    },
    {
        .id = RZL_STANDARD_TIFF,
        .name = "TIFF",
        .extensions = "tif tiff",
        .test = is_tiff,
        .module = &tif_module,
    },
    {
        .id = RZL_STANDARD_GIF,
        .name = "GIF",
        .extensions = "gif",
        .test = is_gif,
        .module = &gif_module,
    },
    {
        .id = RZL_STANDARD_BMP,
        .name = "BMP",
        .extensions = "bmp",
        .test = is_bmp,
        .module = &bmp_module,
    },
    {
        .id = RZL_STANDARD_KRVN, // with a text header
        .name = nullptr,
        .extensions = "",
        .test = is_text_native,
        .module = &krv_text_module,
    },
    {
        .id = RZL_STANDARD_JFIF,
        .name = "JFIF",
        .extensions = "jpg jpeg",
        .test = is_jfif,
        .module = JFIF_MODULE,
    },
    {
        .id = RZL_STANDARD_PNG,
        .name = "PNG",
        .extensions = "png",
        .test = is_png,
        .module = PNG_MODULE,
    },
    {
        .id = RZL_STANDARD_TIFF, // the preview of a PostScript file
        .name = nullptr,
        .extensions = "",
        .test = is_eps,
        .module = &tif_eps_module,
    },
    {
        .id = DETECTED_CATALOG,
        .name = nullptr,
        .extensions = "",
        .test = is_catalog,
        .module = &sut_module,
    },
    {
        .id = DETECTED_COMPANION,
        .name = nullptr,
        .extensions = "",
        .test = is_mrg_companion,
        .module = nullptr,
    },
    {
        .id = RZL_STANDARD_MRG,
        .name = "MRG",
        .extensions = "mrg",
        .test = is_mrg,
        .module = &mrg_module,
    },
    {
        .id = RZL_STANDARD_PNM,
        .name = "PNM",
        .extensions = "ppm pgm pbm pnm",
        .test = is_pnm,
        .module = &pnm_module,
    },
    {
        .id = RZL_STANDARD_SUN,
        .name = "SUN",
        .extensions = "ras",
        .test = is_sun,
        .module = &sun_module,
    },
    {
        .id = RZL_STANDARD_ADRG,
        .name = "ADRG",
        .extensions = "img ovr", // of the images of ASRP and USRP, too
        .test = is_adrg,
        .module = &adrg_module,
    },
    {
        .id = RZL_STANDARD_ASRP,
        .name = "ASRP",
        .extensions = "",
        .test = is_asrp,
        .module = &asrp_module,
    },
    {
        .id = RZL_STANDARD_HRF,
        .name = "HRF",
        .extensions = "hrf",
        .test = is_hrf,
        .module = &hrf_module,
    },
    {
        .id = RZL_STANDARD_PCX,
        .name = "PCX",
        .extensions = "pcx",
        .test = is_pcx,
        .module = &pcx_module,
    },
    {
        .id = RZL_STANDARD_SYM,
        .name = "SYM",
        .extensions = "",
        .test = is_sym,
        .module = &sym_module,
    },
    {
        .id = RZL_STANDARD_ICO,
        .name = "ICO",
        .extensions = "ico",
        .test = is_ico,
        .module = &ico_module,
    },
    {
        .id = RZL_STANDARD_CALS,
        .name = "CALS",
        .extensions = "cal",
        .test = is_cals,
        .module = &cals_module,
    },
    {
        .id = RZL_STANDARD_NITF,
        .name = "NITF",
        .extensions = "ntf",
        .test = is_nitf,
        .module = &nitf_module,
    },
    {
        .id = RZL_STANDARD_XBM,
        .name = "XBM",
        .extensions = "xbm",
        .test = nullptr, // its module reads on for the sizes
        .module = &xbm_module,
    },
    {
        .id = RZL_STANDARD_USGS,
        .name = "USGS",
        .extensions = "",
        .test = is_usgs,
        .module = &usgs_module,
    },
    {
        .id = RZL_STANDARD_VRLC,
        .name = "IGS",
        .extensions = "igs",
        .test = is_vrlc,
        .module = &ir_module,
    },
    {
        .id = RZL_STANDARD_TARGA,
        .name = "TGA",
        .extensions = "tga",
        .test = is_targa,
        .module = &tga_module,
    },
    {
        .id = RZL_STANDARD_POSTSCRIPT, // is written only
        .name = "POSTSCRIPT",
        .extensions = "ps",
        .test = nullptr,
        .module = &ps_module,
    },
    {
        .id = RZL_STANDARD_USRP, // found as ASRP, whose module tells the two apart
        .name = "USRP",
        .extensions = "",
        .test = nullptr,
        .module = &asrp_module,
    },
};

// The standard of a file whose program has not chosen one.
int32_t standard_of_environment() {
    const char* text = std::getenv("RZL_STANDARD");
    int64_t id = 0;
    if (text == nullptr || !text_integer(text, std::strlen(text), &id)) return 0;
    return id >= 0 && id <= INT32_MAX ? static_cast<int32_t>(id) : 0;
}

// The row of a standard whose files can be created: the native one when there is none of that id.
const standard_row* creating_row(int32_t id) {
    const standard_row* row = find_standard(id);
    if (row != nullptr && row->module != nullptr && row->module->initialise != nullptr) return row;
    if (debug_level() != 0) rzl_report(RZL_NO_SUCH_FIELD, SOURCE, __LINE__, "Unknown standard ");
    return find_standard(RZL_STANDARD_KRVN);
}

// After a failure the handle has no standard, so that the next choice starts over.
int initialise_standard(CFILE* c, int32_t id) {
    const standard_row* row = creating_row(id);
    drop_module(c);
    c->standard = row->id;
    if (install_module(c, row->module) && row->module->initialise(c) == 0) return 0;
    drop_module(c);
    c->standard = -1;
    return 1;
}

// The module that creates files of a standard, or null.
const format_module* creating_module(int32_t id) {
    const standard_row* row = id >= 0 ? find_standard(id) : nullptr;
    bool creates = row != nullptr && row->module != nullptr && row->module->initialise != nullptr;
    return creates ? row->module : nullptr;
}

// Whether `word` is one of the words of a list, in any case of letters.
bool is_listed(const char* list, const char* word) {
    size_t length = std::strlen(word);
    for (size_t size = text_word(&list); size > 0; list += size, size = text_word(&list)) {
        if (size == length && strncasecmp(list, word, length) == 0) return true;
    }
    return false;
}

} // namespace

standard_rows all_standards() {
    return {std::begin(STANDARDS), std::end(STANDARDS)};
}

const standard_row* find_standard(int32_t id) {
    for (const standard_row& row : STANDARDS) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

// On a file that can't be created any more the standard is what it is. Once the header stands in the file, or a further
// image of it is being made, a choice is passed over.
int rzl_set_standard(CFILE* c, int32_t id) {
    if (!handle_enter(c, "rzl_set_standard")) return 1;
    if (!is_writable(c)) return handle_leave(c, refuse(c, RZL_NEEDS_WRITE, SOURCE, "rzl_set_standard"));
    if (has_flag(c, FLAG_HEADER_EXISTS) || c->active_image != 0) return handle_leave(c, 0);
    int32_t wanted = id >= 0 ? id : standard_of_environment();
    int result = c->standard == wanted ? 0 : initialise_standard(c, wanted);
    read_debug_level();
    return handle_leave(c, result);
}

const char* rzl_standard_name(int32_t id) {
    const standard_row* row = id >= 0 ? find_standard(id) : nullptr;
    return row != nullptr ? row->name : nullptr;
}

const char* rzl_standard_extensions(int32_t id) {
    const standard_row* row = id >= 0 ? find_standard(id) : nullptr;
    return row != nullptr ? row->extensions : nullptr;
}

int32_t rzl_standard_of_extension(const char* extension) {
    if (extension == nullptr || *extension == '\0') return -1;
    for (const standard_row& row : STANDARDS) {
        if (is_listed(row.extensions, extension)) return row.id;
    }
    return -1;
}

int rzl_standard_takes(int32_t id, int32_t format) {
    const format_module* module = creating_module(id);
    if (module == nullptr) return 0;
    for (int32_t known : module->formats) {
        if (known == format) return 1;
    }
    return 0;
}

int rzl_standard_has_table(int32_t id) {
    const format_module* module = creating_module(id);
    return module != nullptr && (module->traits & MODULE_NO_TABLE) == 0 ? 1 : 0;
}

int rzl_standard_is_grey(int32_t id) {
    const format_module* module = creating_module(id);
    return module != nullptr && (module->traits & MODULE_GREY) != 0 ? 1 : 0;
}

int rzl_standard_is_coded(int32_t id) {
    const format_module* module = creating_module(id);
    return module != nullptr && (module->traits & MODULE_CODED) != 0 ? 1 : 0;
    return rzl_standard_colors(id) != 0 ? 1 : 0;
}

int32_t rzl_standard_colors(int32_t id) {
    const standard_row* row = id >= 0 ? find_standard(id) : nullptr;
    if (row == nullptr || row->module == nullptr || row->module->initialise == nullptr) return 0;
    return (row->module->traits & MODULE_NO_TABLE) == 0 ? row->module->most_colors : 0;
}

int rzl_standard_support(int32_t id, int* can_create, int* can_read) {
    const standard_row* row = id >= 0 ? find_standard(id) : nullptr;
    const format_module* module = row != nullptr ? row->module : nullptr;
    if (can_create != nullptr) *can_create = module != nullptr && module->initialise != nullptr ? 1 : 0;
    if (can_read != nullptr) *can_read = module != nullptr && module->open != nullptr ? 1 : 0;
    return row != nullptr ? 0 : 1;
}
