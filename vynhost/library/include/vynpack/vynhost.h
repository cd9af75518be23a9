/* libvynhost: the blocks of the module VYNPACKM for programs in any language, through the host's
 * side that vynhost itself is made of.
 *
 *     vynhost_open(NULL);
 *     vynhost_setting settings[] = {{.keyword = "PkAmplType", .kind = VYNHOST_TEXT, .text =
 * "RMS"}}; vynhost_block* block; vynhost_block_new("FFT", "spectrum", NULL, 0, settings, 1,
 * &block); vynhost_block_start(block, 1); vynhost_block_feed(block, &signal, 1, &spectrum, 1,
 * &moved); vynhost_block_delete(block);
 *
 * Functions that can fail answer 0 (VYNHOST_DONE) or what is wrong; vynhost_error() then has the
 * text, in one line. A refused call has changed nothing.
 *
 * Calls may come from any thread and are worked on one at a time; on Windows from the thread that
 * has opened the module alone. There is one module per process. All texts are UTF-8. */
#pragma once

#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C has no other */

#ifdef __cplusplus
extern "C" {
#endif

enum vynhost_status {
    VYNHOST_DONE = 0,
    VYNHOST_WRONG_INPUT = 2, /* what the caller can mend: a name, a value, an array */
    VYNHOST_NO_MODULE = 4,   /* the module or its analysis library cannot be used */
    VYNHOST_BLOCK_ERROR = 5, /* the block reports an error; the text is its own */
    VYNHOST_STALLED = 6      /* in a diagram data waits that no block takes */
};

/* Of the last call of this thread that failed; valid until its next one that fails. */
const char* vynhost_error(void);

/* --- The module --------------------------------------------------------------------------------
 */

/* Loads the module of this file, with the analysis library beside it or where the machine's setting
 * says; NULL: the module beside the running program or of the installation. */
int32_t vynhost_open(const char* module_file);
/* Deletes nothing: all blocks must be deleted before. */
int32_t vynhost_close(void);

/* What a keyword of a block type means, from the host's table. */
typedef struct vynhost_keyword {
    const char* name;    /* "PkWndFct" */
    const char* says;    /* what it is */
    const char* unit;    /* "Hz"; "" where there is none */
    const char* allowed; /* "Slow (0), Fast (1) or Impulse (2)", "above 0 Hz" */
} vynhost_keyword;

/* Of the block type with this name, class or code, by index from 0; behind the last one `name` is
 * NULL. The texts are valid until this thread's next call. */
int32_t vynhost_keyword_at(const char* type, int32_t index, vynhost_keyword* keyword);

/* --- Blocks ------------------------------------------------------------------------------------
 */

enum vynhost_kind { VYNHOST_NONE = 0, VYNHOST_INTEGER = 1, VYNHOST_REAL = 2, VYNHOST_TEXT = 3 };

/* A keyword and its value as a diagram writes it: a number or a name. */
typedef struct vynhost_setting {
    const char* keyword;
    const char* place; /* what an error text calls it; NULL: the block's and the keyword's name */
    int64_t integer;
    double real;
    const char* text;
    int32_t kind; /* vynhost_kind */
    int32_t reserved;
} vynhost_setting;

typedef struct vynhost_block vynhost_block;

/* Makes a block of the type with this name, class or code. `record` is a parameter record or NULL;
 * the settings apply on top of it and are held against the host's table of keywords, its rules
 * between keywords included. `name` stands in the texts of errors. */
int32_t vynhost_block_new(const char* type, const char* name, const void* record,
                          int64_t record_bytes, const vynhost_setting* settings, int32_t count,
                          vynhost_block** block);
/* NULL: nothing. */
void vynhost_block_delete(vynhost_block* block);

/* The value of a keyword, by the name of a choice where it has one; VYNHOST_NONE where the keyword
 * does not read back or its value has no name. The text is valid until this thread's next call. */
int32_t vynhost_block_get(vynhost_block* block, const char* keyword, vynhost_setting* value);
/* Changes keywords between runs. Settings given before stay, the last of a keyword counts. */
int32_t vynhost_block_set(vynhost_block* block, const vynhost_setting* settings, int32_t count);

/* The parameter record: its bytes to `record`, as many as there is room for; its size to `bytes`.
 */
int32_t vynhost_block_record(vynhost_block* block, void* record, int64_t room, int64_t* bytes);

/* The names of the connectors, "E" or "R,I", in the order in which feed takes them; "" where there
 * are none. An output that the settings leave without data is called "-". Valid until this thread's
 * next call. */
int32_t vynhost_block_inputs(vynhost_block* block, const char** names);
int32_t vynhost_block_outputs(vynhost_block* block, const char** names);
/* The names and units of the quantities in the data blocks of an output, "L [dB]" a line each; ""
 * where it carries samples or lines. Valid until this thread's next call. */
int32_t vynhost_block_quantities(vynhost_block* block, int32_t output, const char** names);

/* --- Runs --------------------------------------------------------------------------------------
 */

/* A data block: `count` values over all channels, sample i of channel c at c + i * channels. */
typedef struct vynhost_data {
    const float* values;
    int64_t count;
    double x_start; /* of the first sample, in the unit of the x axis */
    double x_step;  /* above 0 */
    double display_minimum;
    double display_span;
    int32_t channels; /* 0: no data block */
    int32_t x_kind;   /* 1 s, 2 ms, 3 Hz, 4 kHz; others belong to the host */
    int32_t y_unit; /* 6 dB, 11 degrees, 12 power, 15 %, 26 amplitude; others belong to the host */
    uint32_t flags; /* 8, 16: the x values are numbers of third-octave, octave bands */
} vynhost_data;

/* Begins a run. Bit i of `wired`: data come to input i. */
int32_t vynhost_block_start(vynhost_block* block, uint32_t wired);

/* Lays a data block at each input that `inputs` has one for (they are copied), lets the block work
 * once, and takes away what it puts out: `outputs` has `output_count` places, and what an output
 * has not put out has 0 channels. The values stay where they are until the next call with this
 * block. `moved` is 0 when nothing happened. A block may need several calls for one input (levels):
 * call without inputs until nothing moves. An input whose data block still waits takes no other. */
int32_t vynhost_block_feed(vynhost_block* block, const vynhost_data* inputs, int32_t input_count,
                           vynhost_data* outputs, int32_t output_count, int32_t* moved);
/* The names of the inputs whose data block waits, as above. */
int32_t vynhost_block_waiting(vynhost_block* block, const char** names);

/* One long signal through a block of one input and one output: data blocks of `samples` samples
 * per channel, and what comes out of all of them behind one another at `result`, which has room for
 * `room` values. `written` is how many came, `head` the first one's head. The run goes on. */
int32_t vynhost_block_flow(vynhost_block* block, const vynhost_data* signal, int64_t samples,
                           float* result, int64_t room, int64_t* written, vynhost_data* head);

/* No more data come. While `more` is not 0, feeds without inputs may put out a level interval that
 * is complete: call in turn with them. */
int32_t vynhost_block_finish(vynhost_block* block, int32_t* more);
/* Ends the run; what waits at the inputs is taken back. Without a run: nothing. */
int32_t vynhost_block_stop(vynhost_block* block);

/* --- Diagrams ----------------------------------------------------------------------------------
 */

/* Is given every data block that comes out at a place; `block` and its values are there during the
 * call alone, which must not call this library. */
typedef void (*vynhost_listener)(void* user, int32_t place, const vynhost_data* block);

/* Runs the diagram of this file as `vynhost run` does, `recordings` (files) in the place of those
 * of its `sources` (names), `count` of both. What comes to the sinks goes to `take` and into no
 * file; comparisons are not made. `memory` is what the run may take for what the diagram asks for,
 * in bytes; 0: 1 GiB. `description` is JSON: {"sinks": [{"name", "average", "decibels",
 * "reference", "values", "places": [{"place", "name", "unit", "degree", "hasLevel", "quantities",
 * "overIntervals"}]}], "notes": [...]}; valid until this thread's next call. */
int32_t vynhost_diagram_run(const char* file, const char* const* sources,
                            const char* const* recordings, int32_t count, int64_t memory,
                            vynhost_listener take, void* user, const char** description);

#ifdef __cplusplus
}
#endif
