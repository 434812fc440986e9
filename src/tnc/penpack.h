// The packing of one layer of raw samples into the byte code of penline.h, and the records the builder gathers them in.
//
// The records of a line stand in three pools that grow and are emptied when the line ends, so that adding a sample
// takes no memory of its own. They are linked by their index in the pool.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tnc/tnc.h"

constexpr uint32_t NODE_NONE = UINT32_MAX;

// One sample.
struct rgbuv {
    uint32_t next; // the sample one column on, or NODE_NONE
    uint8_t red, green, blue;
    uint16_t u, v; // 0 for a pen without them
};

// Columns start to end (inclusive) of a layer, one sample each, no gap.
struct run {
    uint32_t next;        // the run further right, or NODE_NONE
    int32_t start, end;   // columns
    uint32_t first, last; // its samples
};

// One layer of one pen on the current line. It has at least one run.
struct autoreflex {
    uint32_t older;               // the layer made before it, or NODE_NONE
    uint32_t first_run, last_run; // by rising columns
};

template <typename T> struct node_pool {
    T* nodes; // owned
    uint32_t count;
    uint32_t room;
};

struct line_nodes {
    node_pool<rgbuv> samples;
    node_pool<run> runs;
    node_pool<autoreflex> layers;
};

enum class pack_result {
    done,
    no_memory, // leave the layer out
    stopped,   // after a message: no line can be packed any more, which is to end the program
};

// Packs `layer` into a new line, which the caller owns. Skip items cost the file nothing, so a few bytes of it could
// ask for a line of any length: `skip_allowance` is the number of bytes that they may still take, and is lowered by
// what they take. A layer that would need more counts as one for which there is no memory.
pack_result compressed_pen_line0(const line_nodes* nodes, const autoreflex* layer, int has_uv, int64_t* skip_allowance,
                                 pline** packed);

// The scratch buffers of the packing stay allocated from line to line and file to file. This gives them back, for tests
// that count blocks.
void penpack_release_scratch();
