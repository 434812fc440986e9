/* rzl: reads and writes raster images in some twenty file formats through one handle.
 *
 * To read: rzl_open_r(), rzl_get_hdr_data() for what is wanted (fields 1 and 2 give the size), rzl_getline() or
 * rzl_getline3() once per line, rzl_close(). The format is found from the file.
 *
 * To write: rzl_open_w(), rzl_set_hdr_data() for field 500 (the standard) first, then field 3 (the data format), then
 * fields 1, 2 and others; rzl_put_vlt() for a colour table; rzl_write_header(); rzl_putline() or rzl_putline3() once
 * per line; rzl_close(). A put before rzl_write_header() writes the header by itself.
 *
 * Results are 0 for success and 1 for failure, unless told otherwise; the reason stands in the handle's status, field
 * RZL_FIELD_STATUS, and in rzl_get_global(RZL_GLOBAL_STATUS). Nothing is printed unless the environment variable
 * RZL_DEBUG holds a number other than 0; then messages go to standard error.
 *
 * Different handles may be used from different threads; each call holds its handle's lock. The library-wide last status
 * is shared by all threads, so a threaded program asks the handle.
 *
 * Words kept apart: a line is a row of the image, numbered from 0 in file order; a plane is one channel of a line, one
 * buffer of its own; an interleaved line holds the samples of a pixel together; a VLT is the file's colour table.
 */
#ifndef RZL_H
#define RZL_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define RZL_API
#else
#define RZL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define RZL_VERSION "rzl version 2.0.0.9"

/* An open raster file. */
typedef struct CFILE CFILE;

/* Standards: the file formats, field RZL_FIELD_STANDARD. */
enum {
    RZL_STANDARD_KRVN = 0,
    RZL_STANDARD_TIFF = 1,
    RZL_STANDARD_GIF = 2,
    RZL_STANDARD_TARGA = 3,
    RZL_STANDARD_BMP = 4,
    RZL_STANDARD_PCX = 5,
    RZL_STANDARD_JFIF = 6,
    RZL_STANDARD_ADRG = 8,
    RZL_STANDARD_ICO = 9,
    RZL_STANDARD_SYM = 10,
    RZL_STANDARD_CALS = 11,
    RZL_STANDARD_NITF = 12,
    RZL_STANDARD_XBM = 13,
    RZL_STANDARD_PNM = 14,
    RZL_STANDARD_SUN = 15,
    RZL_STANDARD_USGS = 16,
    RZL_STANDARD_MRG = 17,
    RZL_STANDARD_ASRP = 18,
    RZL_STANDARD_HRF = 19,
    RZL_STANDARD_VRLC = 20,
    RZL_STANDARD_POSTSCRIPT = 21,
    RZL_STANDARD_USRP = 22,
    RZL_STANDARD_PNG = 23
};

/* Data formats: how the pixels of a line are stored, field RZL_FIELD_FORMAT. */
enum {
    RZL_FORMAT_BILEVEL = 1,      /* packed, most significant bit first, in 16-bit words */
    RZL_FORMAT_BYTE = 2,         /* one byte a pixel */
    RZL_FORMAT_INT16 = 3,        /* 16-bit integers */
    RZL_FORMAT_INT32 = 4,        /* 32-bit values */
    RZL_FORMAT_REAL32 = 5,       /* the same size */
    RZL_FORMAT_INT64 = 6,        /* 64-bit values */
    RZL_FORMAT_REAL64 = 7,       /* the same size */
    RZL_FORMAT_128 = 8,          /* 128-bit values */
    RZL_FORMAT_BILEVEL_RUNS = 9, /* run-coded bilevel */
    RZL_FORMAT_BYTE_PAIRS = 10,  /* run-coded bytes, value and count */
    RZL_FORMAT_GROUP3 = 23,
    RZL_FORMAT_GROUP4 = 24,
    RZL_FORMAT_COLOR_RUNS = 25,  /* run-coded red, green, blue */
    RZL_FORMAT_PACKED_RUNS = 26, /* run-coded values of the file's bits */
    RZL_FORMAT_PLANE_RUNS = 27,  /* three run-coded byte planes a line */
    RZL_FORMAT_RGB = 28,         /* red, green, blue byte triples */
    RZL_FORMAT_BYTE_RUNS = 29,   /* run-coded bytes, byte-oriented */
    RZL_FORMAT_JPEG_GREY = 30,
    RZL_FORMAT_JPEG_RGB = 31,
    RZL_FORMAT_JPEG_FOUR = 32,
    RZL_FORMAT_TILED = 65, /* stands in a tiled native header only */
    RZL_FORMAT_FOUR_PLANE_RUNS = 67,
    RZL_FORMAT_FOUR = 69 /* four bytes a pixel */
};

/* Header fields. `value` points at one int32_t unless told. */
enum {
    RZL_FIELD_XSIZE = 1,
    RZL_FIELD_YSIZE = 2,
    RZL_FIELD_FORMAT = 3,
    RZL_FIELD_MATRIX = 4,   /* double[16], row by row */
    RZL_FIELD_VLT_TYPE = 5, /* RZL_VLT_ */
    RZL_FIELD_VLT_ENTRIES = 6,
    RZL_FIELD_PACKET_WORDS = 7, /* setting adds */
    RZL_FIELD_RESOLUTION = 8,
    RZL_FIELD_ORIENTATION = 9, /* RZL_TOP_DOWN or another: value & 3 of 2 or more is bottom-up */
    RZL_FIELD_APPLICATION = 10,
    RZL_FIELD_APP_VALUE_1 = 11,
    RZL_FIELD_APP_VALUE_2 = 12,
    RZL_FIELD_APP_VALUE_3 = 13,
    RZL_FIELD_DESCRIPTION = 14, /* char[80] */
    RZL_FIELD_COMMENT = 15,     /* char[200] */
    RZL_FIELD_NAME_1 = 16,      /* char[66] */
    RZL_FIELD_NAME_2 = 17,      /* char[66] */
    RZL_FIELD_NAME_3 = 18,      /* char[66] */
    RZL_FIELD_SCANNABLE = 19,
    RZL_FIELD_HEADER_WORDS = 20, /* read only */
    RZL_FIELD_VERSION = 21,
    RZL_FIELD_MINIMUM = 22,
    RZL_FIELD_MAXIMUM = 23,
    RZL_FIELD_MINIMUM_BYTES = 24, /* 8 bytes */
    RZL_FIELD_MAXIMUM_BYTES = 25, /* 8 bytes */
    RZL_FIELD_ASPECT_RATIO = 26,  /* double */
    RZL_FIELD_VIEW_ORIGIN = 27,   /* double[3] */
    RZL_FIELD_VIEW_EXTENT = 28,   /* double[3] */
    RZL_FIELD_ROTATION = 29,      /* double */
    RZL_FIELD_SKEW = 30,          /* double */
    RZL_FIELD_VLT_BITS = 31,
    RZL_FIELD_STRIP_LINES = 32,
    RZL_FIELD_TYPE_MODIFIER = 33,
    RZL_FIELD_MAPPED = 34, /* set only */
    RZL_FIELD_FOUR_BYTE_PIXELS = 35,
    RZL_FIELD_MARK_36 = 36,
    RZL_FIELD_TILE_WIDTH = 100,
    RZL_FIELD_TILES_ACROSS = 101,
    RZL_FIELD_TILES_DOWN = 102,
    /* int32_t[tiles]: of a native file the bytes of each; with the top bit set it has none, and the rest is its colour.
     * Of a file without tiles one word, 0. */
    RZL_FIELD_TILE_DIRECTORY = 103,
    RZL_FIELD_TILE_HEIGHT = 104,
    RZL_FIELD_OVERVIEWS = 200,
    RZL_FIELD_OVERVIEW_VALUE = 201,
    RZL_FIELD_VLT_ROOM = 400,
    RZL_FIELD_PACKET_ROOM = 401,
    RZL_FIELD_IMAGES = 402,
    RZL_FIELD_PIXEL_CLASS = 403,
    RZL_FIELD_FLAG_404 = 404,
    RZL_FIELD_BOARD = 405,
    RZL_FIELD_BOARD_KEEP = 406,
    RZL_FIELD_BOARD_407 = 407,
    RZL_FIELD_STANDARD = 500,
    RZL_FIELD_COMPRESSION = 501,
    RZL_FIELD_PREDICTOR = 502,
    RZL_FIELD_PLANAR = 503,
    RZL_FIELD_PHOTOMETRIC = 504,
    RZL_FIELD_STRIP_ROWS = 505,
    RZL_FIELD_SAMPLES = 506,
    RZL_FIELD_BITS = 507,
    RZL_FIELD_QUALITY = 508,
    RZL_FIELD_USER_TAG = 509,         /* rzl_user_tag */
    RZL_FIELD_TARGA_MAP = 600,        /* 2 with a colour map, 0 without; the same as field 5 */
    RZL_FIELD_TARGA_MAP_FIRST = 601,  /* the first index of the map: field 6 tells how many follow from it on */
    RZL_FIELD_TARGA_MAP_LENGTH = 602, /* the same as field 6 */
    RZL_FIELD_TARGA_MAP_BITS = 603,   /* of an entry: 15, 16, 24 or 32 */
    RZL_FIELD_TARGA_X_ORIGIN = 604,
    RZL_FIELD_TARGA_Y_ORIGIN = 605,
    RZL_FIELD_TARGA_ATTRIBUTES = 606, /* bits of a pixel that are no colour */
    RZL_FIELD_TARGA_ID_LENGTH = 607,  /* bytes; to be set before the identification */
    RZL_FIELD_TARGA_ID = 608,         /* char[256]: the identification */
    RZL_FIELD_TARGA_PIXEL_BITS = 609,
    RZL_FIELD_ICO_MASK = 630, /* uint8_t[512]: the mask of an icon, (xsize x ysize + 7) / 8 bytes of it */
    /* CALS files. Texts are char[128]; each but the first four is a field of one variant only, 'A' or 'B'. */
    RZL_FIELD_CALS_SOURCE_ID = 640,
    RZL_FIELD_CALS_DESTINATION_ID = 641,
    RZL_FIELD_CALS_CLASS = 642,
    RZL_FIELD_CALS_NOTES = 643,
    RZL_FIELD_CALS_VARIANT = 644,       /* 'A', 'B', or ' ' for a file without a header of text; setting clears texts */
    RZL_FIELD_CALS_TEXT_FILE_ID = 645,  /* A */
    RZL_FIELD_CALS_FIGURE_ID = 646,     /* A */
    RZL_FIELD_CALS_GRAPHICS = 647,      /* A */
    RZL_FIELD_CALS_SPECIFICATION = 648, /* B */
    RZL_FIELD_CALS_DATA_FILE_ID = 649,  /* B */
    RZL_FIELD_XBM_X_HOT = 650,          /* the hot spot of a bitmap */
    RZL_FIELD_XBM_Y_HOT = 651,
    RZL_FIELD_XBM_NAME = 652,            /* char[32] */
    RZL_FIELD_PNM_TEXT = 660,            /* 1: the lines are text; the same as the value 7 of field 501 */
    RZL_FIELD_CALS_MODULE_ID = 667,      /* B */
    RZL_FIELD_CALS_ITEM_ID = 668,        /* B */
    RZL_FIELD_CALS_PUBLICATION_ID = 669, /* B */
    RZL_FIELD_CALS_TYPE = 670,           /* 1, or 2 for a file that may have tiles */
    RZL_FIELD_CALS_LEVEL = 671,          /* double: 3.2 or 3.3 */
    RZL_FIELD_CALS_REFERENCE = 672,      /* of the document; this and the next two are written only */
    RZL_FIELD_CALS_USER_NAME = 673,
    RZL_FIELD_CALS_USER_COMMENT = 674,
    RZL_FIELD_NITF = 700, /* const rzl_nitf_header*: all texts of a NITF file's headers */
    RZL_FIELD_RAW_SAMPLES = 701,
    RZL_FIELD_STATUS = 702, /* uint32_t; the status of the operation before */
    RZL_FIELD_USGS = 720,   /* rzl_usgs_records */
    RZL_FIELD_MRG = 730,    /* rzl_mrg_info */
    RZL_FIELD_MAP = 2000    /* rzl_map_info, of every standard: what the file tells of a map or document */
};

/* Kinds of colour tables, field RZL_FIELD_VLT_TYPE. */
enum {
    RZL_VLT_NONE = 0,
    RZL_VLT_BYTES = 1,  /* 256 red, then green, then blue bytes */
    RZL_VLT_ENTRIES = 2 /* entries of 16 bits */
};

/* Orders of lines, field RZL_FIELD_ORIENTATION. The odd ones have their pixels from right to left. */
enum { RZL_TOP_DOWN = 4, RZL_TOP_DOWN_MIRRORED = 5, RZL_BOTTOM_UP = 6, RZL_BOTTOM_UP_MIRRORED = 7 };

/* Library-wide values of rzl_get_global(). */
enum {
    RZL_GLOBAL_STATUS = 702,      /* uint32_t: status of the last public operation */
    RZL_GLOBAL_DEBUG_LEVEL = 703, /* int32_t */
    RZL_GLOBAL_FORMAT_ROWS = 704, /* int32_t: rows of the format table */
    RZL_GLOBAL_FORMAT_TABLE = 705 /* const rzl_format_row * */
};

/* Status words. 0 is success. */
#define RZL_NO_SUCH_FIELD      0x0C2A800Eu
#define RZL_RLE_BUFFER_SMALL   0x0C2A8016u
#define RZL_MODIFY_COMPRESSED  0x0C2A801Eu
#define RZL_JPEG_HARDWARE      0x0C2A8026u
#define RZL_CANNOT_OPEN        0x0C2A802Eu
#define RZL_READ_FAILED        0x0C2A8036u
#define RZL_WRITE_FAILED       0x0C2A803Eu
#define RZL_HEADER_FULL        0x0C2A8046u
#define RZL_BAD_CFILE          0x0C2A804Eu
#define RZL_LINES_OUT_OF_ORDER 0x0C2A8056u
#define RZL_BAD_IMAGE_SIZE     0x0C2A805Eu
#define RZL_BAD_FIELD_ID       0x0C2A8066u
#define RZL_BAD_FIELD_VALUE    0x0C2A806Eu
#define RZL_NOT_STANDARD       0x0C2A8076u
#define RZL_NOT_STANDARD_2     0x0C2A807Eu
#define RZL_NO_SUCH_IMAGE      0x0C2A8086u
#define RZL_NO_SUCH_OVERVIEW   0x0C2A808Eu
#define RZL_BAD_TILE_SIZE      0x0C2A8096u
#define RZL_JPEG_HARDWARE_2    0x0C2A809Eu
#define RZL_NO_MEMORY          0x0C2A80A6u
#define RZL_JPEG_HARDWARE_3    0x0C2A80B6u
#define RZL_NO_OUTPUT_BUFFER   0x0C2A80BEu
#define RZL_NO_OVERVIEWS       0x0C2A80C6u
#define RZL_NO_PACKETS         0x0C2A80CEu
#define RZL_NEEDS_READ         0x0C2A80D6u
#define RZL_NO_SUCH_TAG        0x0C2A80DEu
#define RZL_NO_VLT             0x0C2A80E6u
#define RZL_NEEDS_WRITE        0x0C2A80EEu
#define RZL_NO_OUTPUT_BUFFER_2 0x0C2A80F6u
#define RZL_CATALOG_COUNT      0x0C2A80FEu
#define RZL_PAST_END           0x0C2A8106u
#define RZL_ONLY_UNTILED       0x0C2A810Eu
#define RZL_UNSUP_IR           0x0C2A811Eu
#define RZL_UNSUP_BMP          0x0C2A8126u
#define RZL_UNSUP_CALS         0x0C2A812Eu
#define RZL_UNSUPPORTED        0x0C2A8136u
#define RZL_UNSUP_ICO          0x0C2A813Eu
#define RZL_UNSUP_KRVN         0x0C2A8146u
#define RZL_UNSUP_JFIF         0x0C2A814Eu
#define RZL_UNSUP_NITF         0x0C2A8156u
#define RZL_UNSUP_PCX          0x0C2A815Eu
#define RZL_UNSUP_COPY         0x0C2A8166u
#define RZL_UNSUP_SYM          0x0C2A816Eu
#define RZL_UNSUP_TGA          0x0C2A8176u
#define RZL_UNSUP_TIFF         0x0C2A817Eu
#define RZL_ONLY_TILED         0x0C2A8186u

/* An entry of a colour table. A colour uses the full 16 bits: an 8-bit value stands in the high byte. */
typedef struct rzl_vlt_entry {
    uint16_t slot;
    uint16_t red;
    uint16_t green;
    uint16_t blue;
} rzl_vlt_entry;

/* A file in memory. The application owns the record and the bytes, and opens the name that rzl_memfile_name() gives. */
typedef struct rzl_memfile {
    uint8_t* data;
    int32_t length; /* size of the block; it never grows */
    uint32_t owned; /* bit 0: closing frees the record with free(); an open that fails leaves it alone */
    int32_t position;
    int32_t used; /* the size of the file that was written: up to the last byte that a put or the header reached */
    int32_t data_start; /* position when rzl_write_header() finished */
} rzl_memfile;

/* A file's characteristics in one record: the fields of the same names. Of PNM files `format` is the kind, 1 to 6. */
typedef struct rzl_stat {
    int32_t xsize, ysize, format, device_resolution, scan_orientation, scannable, version, application_type;
    int32_t tile_size, tiles_across, tiles_down, overview_count, overview_value, vlt_type, vlt_entries, vlt_room;
    int32_t packet_words, packet_room, jpeg_quality;
    double matrix[16];
    double aspect_ratio;
    int32_t planar, compression;               /* fields 503 and 501 */
    int32_t standard, samples, bits, vlt_bits; /* fields 500, 506, 507 and 31; rzl_set_stat() leaves them alone */
} rzl_stat;

/* The headers of a NITF file, field RZL_FIELD_NITF, as texts of the widths that they have in the file, a zero byte
 * behind each. The record that is read belongs to the handle and is valid until it is closed. Setting copies the texts
 * of a record with as many images as the file has, before a header is written; what follows from the pixels (sizes,
 * counts, lengths, compression, bands, bits) is not taken from it. User-defined and extended data are passed over. */
typedef struct rzl_nitf_band {
    char representation[3];
    char significance[7];
    char filter_condition[2];
    char filter_code[4];
    char lut_count[2];
    char lut_entries[6];
    const uint8_t* lut_data; /* the tables, one behind the other; null where there are none */
} rzl_nitf_band;

typedef struct rzl_nitf_image {
    char part_type[3], id[11], date_and_time[15], target_id[18], title[81];
    char security[2], codewords[41], handling[41], releasing[41], authority[21], control_number[21], downgrade[7];
    char downgrading_event[41]; /* stands in the file when the text before it is "999998" */
    char encryption[2], source[43], rows[9], columns[9], value_type[4], representation[9], image_class[9];
    char actual_bits[3], justification[2];
    char coordinate_system[2], location[61]; /* four corners of 15 characters, unless the system is "N" */
    char comment_count[2], comments[9][81];
    char compression[3], rate_code[5], band_count[2];
    char sync_code[2], mode[2], blocks_per_row[5], blocks_per_column[5], block_width[5], block_height[5];
    char stored_bits[3], display_level[4], attachment_level[4], place[11], magnification[5];
    char user_data_length[6], extended_data_length[6];
    rzl_nitf_band bands[9];
} rzl_nitf_image;

typedef struct rzl_nitf_header {
    char type_and_version[10], compliance_level[3], system_type[5], station_id[11], date_and_time[15], title[81];
    char security[2], codewords[41], handling[41], releasing[41], authority[21], control_number[21], downgrade[7];
    char downgrading_event[41];
    char copy_number[6], number_of_copies[6], encryption[2], originator[28], phone[19];
    char message_length[13], header_length[7], number_of_images[4];
    char number_of_symbols[4], number_of_labels[4], number_of_texts[4], number_of_data_extensions[4];
    char number_of_reserved_extensions[4], user_data_length[6], extended_data_length[6];
    int32_t image_count;
    rzl_nitf_image* images;
} rzl_nitf_header;

/* A tag of a TIFF file, field RZL_FIELD_USER_TAG. Types: 1 bytes, 2 text, 3 16-bit and 4 32-bit values, 5 pairs of
 * 32-bit values, all in the machine's byte order. To read, set `tag` and `data.pointer`: to a buffer, or null, which
 * gives type and count alone with RZL_NO_OUTPUT_BUFFER_2. A value of up to 4 bytes in all stands in `data.bytes`, in
 * both directions. Setting copies the value. */
typedef struct rzl_user_tag {
    uint16_t tag;
    uint16_t type;
    uint32_t count;
    union {
        void* pointer;
        uint8_t bytes[8];
    } data;
} rzl_user_tag;

/* What a map or document file tells of itself, field RZL_FIELD_MAP. A text that the file does not have is empty, a
 * number that it does not have 0. Texts end in a zero byte. Corners are degrees, as longitude and latitude of the
 * south-west and of the north-east; an MRG file's are the four coordinates in its order. */
typedef struct rzl_map_info {
    char title[128];
    char date[24]; /* as the file writes it */
    char security[24];
    double scale;         /* the number of 1 : scale; for MRG its ground resolution */
    int32_t corner_count; /* of the numbers in `corners`: 0 or 4 */
    double corners[4];
} rzl_map_info;

/* What an MRG file tells of its map, field RZL_FIELD_MRG. Coordinates are degrees. */
typedef struct rzl_mrg_info {
    char name[32];
    char projection[4];
    int32_t numbers[2];
    double coordinates[4];
    int32_t zone;
    char hemisphere; /* 'n' or 's' */
} rzl_mrg_info;

/* The four header records of a USGS file, 400 characters each, field RZL_FIELD_USGS. */
typedef struct rzl_usgs_records {
    char* records[4]; /* the caller's, of 400 characters; null for one that is not wanted */
} rzl_usgs_records;

/* A row of the table of known combinations of standard, sample layout and data format. */
typedef struct rzl_format_row {
    int32_t standard;
    const char* name;
    uint32_t layout; /* samples x 256 + bits */
    int32_t format;
    int32_t compression; /* the value of field 501 that selects this row; -1: it plays no part */
    const char* compression_name;
    uint32_t masks[2];
    uint8_t capabilities[12];
} rzl_format_row;

/* ---- opening and closing ---- */

/* Open an existing file: for reading, or for changing it in place. A null name is the standard input, read only. A
 * backslash in a name separates directories, as a slash does. The handle, or null. */
RZL_API CFILE* rzl_open_r(const char* name);
RZL_API CFILE* rzl_open_rw(const char* name);

/* Create a file: for writing, or for writing with reading back. A null name is the standard output. The handle or null.
 */
RZL_API CFILE* rzl_open_w(const char* name);
RZL_API CFILE* rzl_open_wr(const char* name);

/* Whether a file is a catalog, which lists the files of a picture: creating one of its name creates those instead. */
RZL_API int rzl_is_catalog(const char* name);

/* Finish the file and release the handle. The outcome is the library-wide status. */
RZL_API void rzl_close(CFILE* cfile);

/* The same, giving the outcome: 0, or the status word. */
RZL_API uint32_t rzl_finish(CFILE* cfile);

/* The name under which a file in memory is opened. `name` should have room for 32 characters. 0, or 1 when it has not.
 */
RZL_API int rzl_memfile_name(const rzl_memfile* record, char* name, size_t size);

/* ---- header ---- */

RZL_API int rzl_set_standard(CFILE* cfile, int32_t id);
RZL_API int rzl_get_hdr_data(CFILE* cfile, int32_t field, void* value);
RZL_API int rzl_set_hdr_data(CFILE* cfile, int32_t field, const void* value);
RZL_API int rzl_write_header(CFILE* cfile);

/* Give the colour table that rzl_write_header() is to write. It stays the caller's; count and type are fields 6 and 5.
 * A table whose count was not set has 256 entries, or 2 for a bilevel file. Of a Targa file it begins with slot 0, and
 * has field 601 more. */
RZL_API int rzl_put_vlt(CFILE* cfile, const rzl_vlt_entry* entries);

/* Read the file's colour table into `entries`, which has room for as many entries as field 6 tells, and for 256 at
 * least: a GIF file with fewer colours numbers the slots behind them, too. */
RZL_API int rzl_get_vlt(CFILE* cfile, rzl_vlt_entry* entries);

/* Application packets: blocks of 16-bit words, field 7 of them. A put buffer stays the caller's until the header is
 * written. */
RZL_API int rzl_get_packet(CFILE* cfile, void* buffer);
RZL_API int rzl_put_packet(CFILE* cfile, const void* buffer);

RZL_API int rzl_get_stat(CFILE* cfile, rzl_stat* stat);
RZL_API int rzl_set_stat(CFILE* cfile, const rzl_stat* stat);

/* Make an overview (from 0; -1 is the base image) or a sub-image (from 0) the target of all operations. */
RZL_API int rzl_set_active_overview(CFILE* cfile, int32_t overview);
RZL_API int rzl_set_active_image(CFILE* cfile, int32_t image);

/* Copy from one file to another: the header fields, the overview directory, the coded pixels. */
RZL_API int rzl_init_header_from(CFILE* from, CFILE* to);
RZL_API int rzl_init_overviews_from(CFILE* from, CFILE* to);
RZL_API int rzl_copy_data(CFILE* from, CFILE* to);

/* ---- lines ---- */

/* Read the next line: into one buffer, into three planes, or into `channels` planes. A plane that is not wanted is
 * null. A plane has field-1 samples: a byte each, or as the data format has it; a bilevel line is ((xsize + 15) / 16) x
 * 2 bytes, but three planes of a bilevel file with a colour table are colours, a byte each. On a file with three planes
 * rzl_getline() gives the first. */
RZL_API int rzl_getline(CFILE* cfile, void* buffer);
RZL_API int rzl_getline3(CFILE* cfile, void* red, void* green, void* blue);
RZL_API int rzl_getline_channels(CFILE* cfile, int channels, void* const* buffers);
RZL_API int rzl_getline16(CFILE* cfile, uint16_t* buffer);

/* 1 when the four channels of the file are inks: cyan, magenta, yellow and black, 255 being full ink. Else 0: also of
 * four channels whose meaning the file does not tell. */
RZL_API int rzl_has_inks(CFILE* cfile);

/* The colours that `count` pixels of inks leave of white, in the place of the first three. */
RZL_API void rzl_mix_inks(uint8_t* cyan, uint8_t* magenta, uint8_t* yellow, const uint8_t* black, int32_t count);

/* Read the next line as one interleaved buffer of `samples` bytes a pixel: 3 for a file with a colour table, 4 when
 * field 35 is set. */
RZL_API int rzl_getline_interleaved(CFILE* cfile, void* buffer);

/* Read the next line in run-coded form. A native file gives the bytes that it stores; every other gives 16-bit run
 * lengths of a bilevel line, white first and an odd count of them, whatever its own coding is. PNM, Sun
 * raster, USGS, ADRG, ASRP and USRP files give lines of bytes, too, as pairs of 16-bit words, a value and its run; and
 * colours as a 32-bit word for each run of at most 255 pixels: blue in the low byte, green, red, run. `*size` is the
 * buffer's size on entry and the size used on return, or, with status RZL_RLE_BUFFER_SMALL, the size needed. A strip is
 * a block of field-32 lines as such runs, one line behind the other; there the size told is a first try, which may have
 * to be repeated. */
RZL_API int rzl_get_rle_line(CFILE* cfile, void* buffer, int32_t* size);
RZL_API int rzl_get_rle_strip(CFILE* cfile, void* buffer, int32_t* size);

/* Write the next line: the same shapes. Of a TIFF file under update, planes that are not given stay as they are. */
RZL_API int rzl_putline(CFILE* cfile, const void* buffer);
RZL_API int rzl_putline3(CFILE* cfile, const void* red, const void* green, const void* blue);
RZL_API int rzl_putline_channels(CFILE* cfile, int channels, const void* const* buffers);
RZL_API int rzl_putline16(CFILE* cfile, const uint16_t* buffer);
RZL_API int rzl_putline_interleaved(CFILE* cfile, const void* buffer);
RZL_API int rzl_put_rle_line(CFILE* cfile, const void* buffer, int32_t size);

/* Position at a line (a tile, for tile calls), or at the first. rzl_randomize() makes seeking cheap. */
RZL_API int rzl_seek(CFILE* cfile, int32_t line);
RZL_API int rzl_rewind(CFILE* cfile);
RZL_API int rzl_randomize(CFILE* cfile);

/* Resample while reading: lines come as out_xsize x out_ysize pixels. Flags: RZL_SQUETCH_FILTER interpolates and
 * averages, without it pixels are replicated and dropped; RZL_SQUETCH_EACH_CHANNEL resamples an image of one sample
 * once for each channel of a call. Both calls position the handle at the first line, and so does making another image
 * or overview the target. Samples of more than 8 bits are refused with RZL_UNSUPPORTED. */
enum { RZL_SQUETCH_FILTER = 1, RZL_SQUETCH_EACH_CHANNEL = 4 };
RZL_API int rzl_set_squetch(CFILE* cfile, int32_t out_xsize, int32_t out_ysize, uint32_t flags);
RZL_API int rzl_clear_squetch(CFILE* cfile);

/* ---- tiles ---- */

/* Read or write the next tile, planes as in lines. A non-null `uniform` asks for the colour of a tile without data
 * rather than its pixels; -1 there means that the buffers were filled. */
RZL_API int rzl_gettile(CFILE* cfile, int channels, void* const* buffers, int32_t* uniform);
RZL_API int rzl_puttile(CFILE* cfile, int channels, const void* const* buffers);
RZL_API int rzl_gettile16(CFILE* cfile, int channels, void* const* buffers, int32_t* uniform);
RZL_API int rzl_puttile16(CFILE* cfile, int channels, const void* const* buffers);
RZL_API int rzl_get_rle_tile(CFILE* cfile, void* buffer, int32_t* size, int32_t* uniform);
RZL_API int rzl_put_rle_tile(CFILE* cfile, const void* buffer, int32_t size);

/* ---- the rest ---- */

/* Turn one byte a pixel into a bilevel line of ((count + 15) / 16) x 2 bytes: a pixel of at least `threshold` sets its
 * bit. `in` and `out` must not overlap. */
RZL_API void rzl_pack_bits(uint8_t* out, const uint8_t* in, int32_t count, int threshold);

/* Turn `count` pixels of a bilevel line (16-bit words, low byte first, the first pixel in the top bit) into one byte a
 * pixel: `zero` or `one`. `in` and `out` must not overlap. */
RZL_API void rzl_unpack_bits(const uint8_t* in, uint8_t* out, int32_t count, uint8_t zero, uint8_t one);

/* Whether files that are opened from now on may have what came into their formats later (not 0), or have to keep to the
 * formats as this library writes them (0, as it is at first). Off, such files are refused with the status of a feature
 * that is not supported, or as damaged; nothing that opens without it reads otherwise, but for what is said here. On:
 *   BMP    headers of 52 to 124 bytes; 16 and 32 bits a pixel, with bit fields; delta codes; run-coded
 *          lines with codes for the bytes that fill up a raw one. Field 21 tells the version
 *          of such a header, and field 9 is RZL_BOTTOM_UP for a 12-byte header, too, which is 0 otherwise.
 *   TGA    sides of up to 65535 pixels, pixels of 15 bits; field 21 is 2 for a file of version 2, and field 26 is the
 *          aspect ratio that its extension area tells.
 *   JFIF   JPEG files that begin with an Exif, Adobe or any other marker, with the orientation that Exif tells: of a
 *          picture that lies on its side the lines are the columns of the file, and field 9 tells how they lie then;
 *          files of four inks, as red, green and blue.
 *   SUN    run codes for pixels of 8, 24 and 32 bits, which are taken for bits otherwise.
 *   PCX    one bit in each of two, three or four planes, and two or four bits in one, are indices into the header's
 *          table.
 *   TIFF   strips and tiles that are deflated, field 501 being 8 or, in old files, 32946.
 * For the whole process; open files stay as they were opened. */
RZL_API void rzl_set_extended(int on);

/* Room that each plane of a line call needs, in bytes, for the active image and a resampling that is in force; and that
 * the one buffer of an interleaved call needs. Before the header is written, for the fields as they are set. 0 for a
 * handle that is not valid. */
RZL_API size_t rzl_line_size(CFILE* cfile);
RZL_API size_t rzl_interleaved_size(CFILE* cfile);

/* The version of the library that runs, RZL_VERSION of the one that it was built from. */
RZL_API const char* rzl_version(void);

/* A library-wide value. Always 0. */
RZL_API int rzl_get_global(int32_t field, void* value);

/* 1 when something that the file should hold was missing and had to be made up: lines of a cut scannable file that read
 * as zero, a colour table or packets that were dropped. 0 otherwise. */
RZL_API int rzl_is_damaged(CFILE* cfile);

/* 1 when something of the line that was read last had to be made up, 0 otherwise. */
RZL_API int rzl_is_line_damaged(CFILE* cfile);

/* How many lines of the active image the file can hold, as large as it is and with each byte standing for as many
 * pixels as its coding has at best: field 2, or fewer where the header claims what can't be there. Reading ends there,
 * with RZL_READ_FAILED; a caller that takes memory by the height asks here first. 0 for a handle that is none. */
RZL_API int32_t rzl_lines_held(CFILE* cfile);

/* The order of the active image's lines: field 9, but what the status record tells of a VRLC file, which tells it there
 * alone. RZL_TOP_DOWN for a handle that is none. */
RZL_API int32_t rzl_line_order(CFILE* cfile);

/* The symbolic name of a status word, such as "RZL_CANNOT_OPEN". Never null. */
RZL_API const char* rzl_status_name(uint32_t status);

/* A short sentence for a status word, for a user to read. Never null. */
RZL_API const char* rzl_status_text(uint32_t status);

/* What the last failure of a call in this thread was about, in a few words: with one of the RZL_UNSUP_ words the
 * feature that is not supported, as "BigTIFF" or "Tiff compression type". Valid until the next failure; empty when
 * there is nothing to add. Never null. */
RZL_API const char* rzl_status_detail(void);

/* The name of a standard, as "KRVN", or null; and whether this build can create and read it. */
RZL_API const char* rzl_standard_name(int32_t id);
RZL_API int rzl_standard_support(int32_t id, int* can_create, int* can_read);

/* The extensions of the standard's file names, without the dot and separated by blanks, the usual one first: "tif
 * tiff". Empty where there is no usual one, null for an id that is none. And the standard of an extension, in any case
 * of letters, or -1. */
RZL_API const char* rzl_standard_extensions(int32_t id);
RZL_API int32_t rzl_standard_of_extension(const char* extension);

/* 1 when a new file of the standard can have the data format, field 3; else 0. */
RZL_API int rzl_standard_takes(int32_t id, int32_t format);

/* 1 when a new file of the standard can have a colour table; and its entries at most. Values of a table are no pixels
 * of a file that has none. */
RZL_API int rzl_standard_has_table(int32_t id);
RZL_API int32_t rzl_standard_colors(int32_t id);

/* 1 when a new file of the standard takes colours, and a table of them, and shows them as levels of grey; else 0. */
RZL_API int rzl_standard_is_grey(int32_t id);

/* 1 when pixels of a new file of the standard are stored in a coding whatever the data format is, so that they can't be
 * had plain. */
RZL_API int rzl_standard_is_coded(int32_t id);

#ifdef __cplusplus
}
#endif

#endif
