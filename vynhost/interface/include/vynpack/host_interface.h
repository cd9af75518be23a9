/* The binary interface of the module VYNPACKM as a host sees it, for C and C++.
 *
 * The life of a module: load it; bind the exports by name; SetInit(VYN_HOST_WINDOW, window,
 * VYN_INTERFACE_VERSION). A block's life: GetParameters(context, type, 0, 0) makes it,
 * lRemoteControl sets it up, InitSim begins a run, Simulation is called for every data block,
 * Stoppen ends the run, DestroyBlock the block. SetInit(VYN_SHUT_DOWN, 0, 0) ends the module. One
 * call at a time, on one thread; the module answers with messages to the host's window before a
 * call returns.
 *
 * Systems differ in two things. A handle is a global memory handle (GlobalAlloc) on Windows;
 * elsewhere it is the address of a pointer to the memory. The host's window is a window on Windows;
 * elsewhere it is the address of a vyn_window_function.
 *
 * All numbers are little-endian. The pages on the host interface say the rest. */
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* --- Exports -----------------------------------------------------------------------------------
 */

/* All arguments and results of the exports, and the answers to messages. */
typedef int64_t vyn_int;

/* Names memory that both sides see; 0 names nothing. */
typedef uint64_t vyn_handle;

typedef vyn_int (*vyn_export2)(vyn_int, vyn_int);
typedef vyn_int (*vyn_export3)(vyn_int, vyn_int, vyn_int);
typedef vyn_int (*vyn_export4)(vyn_int, vyn_int, vyn_int, vyn_int);
typedef vyn_int (*vyn_export5)(vyn_int, vyn_int, vyn_int, vyn_int, vyn_int);

/* The exports by name. "context" is the host's own name for a block at work, not 0 in a run. */
typedef vyn_export3 vyn_SetInit;           /* (mode, window, value) */
typedef vyn_export4 vyn_GetInfo;           /* (context, type, query, block) */
typedef vyn_export3 vyn_Command;           /* does nothing */
typedef vyn_export4 vyn_GetParameters;     /* (context, type, block, 0): block 0 makes one */
typedef vyn_export4 vyn_SaveParameters;    /* (context, type, block, file) */
typedef vyn_export4 vyn_RestoreParameters; /* (context, type, 0, file): makes a block */
typedef vyn_export2 vyn_GetGlobalPars;     /* does nothing */
typedef vyn_export3 vyn_SetGlobalPars;     /* does nothing */
typedef vyn_export4 vyn_InitSim;           /* (context, type, block, 0) */
typedef vyn_export4 vyn_Starten;           /* does nothing */
typedef vyn_export4 vyn_Stoppen;           /* (context, type, block, 0) */
typedef vyn_export4 vyn_Pause;             /* does nothing */
typedef vyn_export4 vyn_Simulation;        /* (context, type, block, handle of the record) */
typedef vyn_export4 vyn_DestroyBlock;      /* (context, type, block, 0) */
typedef vyn_export5 vyn_lRemoteControl;    /* (context, block, value, sub-code, info): handles */
typedef vyn_export4 vyn_lErrorShow;        /* (context, block, 0, 0) */

enum { VYN_INTERFACE_VERSION = 402, VYN_OLDEST_HOST_VERSION = 300 };

/* Modes of SetInit. */
enum vyn_set_init_mode { VYN_HOST_WINDOW = 1, VYN_HOST_MODE = 2, VYN_SHUT_DOWN = 3 };

/* Queries of GetInfo. */
enum vyn_query {
    VYN_TYPE_COUNT = 1,
    VYN_LONG_NAME = 2,  /* answers the address of a text */
    VYN_SHORT_NAME = 3, /* the same */
    VYN_CONNECTORS = 4, /* the same, overwritten by the next query: inputs ; outputs, "E,;A," */
    VYN_INTERFACE = 5,
    VYN_IS_TYPE = 6,
    VYN_ALWAYS_ONE = 7,
    VYN_ALWAYS_ZERO = 16
};
enum { VYN_UNKNOWN_QUERY = -1 };

/* Type codes, by the module's class names. */
enum vyn_block_type {
    VYN_KLASSIERUNG = 5000,
    VYN_TERZ_OKTAVE = 5001,
    VYN_STATISTIK = 5002,
    VYN_MITTELWERT = 5003,
    VYN_SPEKTRUM = 5004,
    VYN_INVERSE_FFT = 5005,
    VYN_DUAL_SPEKTRUM = 5006,
    VYN_DIGITAL_FILTER = 5007,
    VYN_FREQ_WEIGHT = 5008,
    VYN_LEVEL = 5009
};
enum { VYN_FIRST_TYPE = 5000, VYN_TYPES = 10 };

/* Block handles run from 1 to VYN_MAX_BLOCKS; 0 is none. */
enum { VYN_MAX_BLOCKS = 1023 };

/* --- Messages ----------------------------------------------------------------------------------
 */

/* What the module asks of the host's window, as (message, first, second). */
enum vyn_message {
    VYN_TRIGGER_THRESHOLD = 1130, /* (0, 0): answers the address of a float */
    VYN_NEW_BLOCK = 1134,         /* (0, number of values): answers a new data block's handle */
    VYN_RELEASE_BLOCK = 1135,     /* (handle, 0): the host takes a data block back */
    VYN_COPY_HEADER = 1143,       /* (input's handle, address of a locked new block) */
    VYN_SHOW_HELP = 1153,         /* (0, 0) */
    VYN_INPUT_COUNT = 1188,       /* (context, 0) */
    VYN_OUTPUT_COUNT = 1189       /* (context, 0) */
};

/* The host's window where the system has no window messages. */
typedef vyn_int (*vyn_window_function)(uint32_t message, vyn_int first, vyn_int second);

/* --- Simulation --------------------------------------------------------------------------------
 */

/* Answers of Simulation; a step done is 0 or 1, by type. */
enum vyn_simulation_result {
    VYN_MISSING = 0,          /* no such block, or a record that cannot be locked */
    VYN_NOTHING_READY = 1,    /* an input without data, an output not taken away */
    VYN_NOT_WIRED = 2,        /* a connector that the type needs */
    VYN_NOTHING_CONSUMED = 8, /* the spectrum block has left its input alone */
    VYN_FAILED = 512
};

enum { VYN_MAX_CONNECTORS = 32 };
enum { VYN_UNWIRED = -1 }; /* a connector's channel number, or any other negative one */

/* What lies at a block's connectors, in the order of its connector text. */
typedef struct vyn_simulation_record {
    vyn_handle input_data[VYN_MAX_CONNECTORS];
    int32_t input_channel[VYN_MAX_CONNECTORS];
    vyn_handle output_data[VYN_MAX_CONNECTORS]; /* 0 on entry */
    int32_t output_channel[VYN_MAX_CONNECTORS];
} vyn_simulation_record;

/* --- Channel data blocks -----------------------------------------------------------------------
 */

enum vyn_axis_kind { VYN_SECONDS = 1, VYN_MILLISECONDS = 2, VYN_HERTZ = 3, VYN_KILOHERTZ = 4 };

/* Axis flags: the x values are band numbers. */
enum { VYN_THIRD_OCTAVE_BANDS = 8, VYN_OCTAVE_BANDS = 16 };

enum vyn_unit_code {
    VYN_UNIT_NONE = 0,
    VYN_UNIT_DECIBEL = 6,
    VYN_UNIT_DEGREES = 11,
    VYN_UNIT_POWER = 12,
    VYN_UNIT_PERCENT = 15,
    VYN_UNIT_AMPLITUDE = 26
};

/* The head of a data block. The bytes behind it, up to the values, are the host's own. */
typedef struct vyn_channel_header {
    int32_t value_count; /* over all channels */
    int32_t x_axis_kind;
    int32_t y_unit;
    int32_t host_word;
    double x_start;
    double x_step;
    double display_minimum;
    double display_span;
    int32_t channel_count;
    uint32_t axis_flags;
} vyn_channel_header;

/* Where the values begin: float, interleaved; sample i of channel c is value c + i * channels. */
enum { VYN_VALUES_OFFSET = 84 };

/* --- Remote control ----------------------------------------------------------------------------
 */

enum vyn_sub_code {
    VYN_COUNT_KEYWORDS = 10,
    VYN_CLEAR_WORD = 20,
    VYN_LIST_KEYWORDS = 30,
    VYN_GET_VALUE = 50,
    VYN_SET_VALUE = 60
};

/* Types of a keyword's value: double, int32_t, zero-terminated text; a flag is an int32_t too. */
enum vyn_value_type { VYN_REAL = 16, VYN_INTEGER = 32, VYN_TEXT = 48, VYN_FLAG = 65 };

/* One row of the keyword table: name (zero-terminated), type, two reserved words. */
enum { VYN_KEYWORD_ROW = 27, VYN_KEYWORD_NAME_SIZE = 17, VYN_KEYWORD_TYPE_OFFSET = 17 };

/* The info record: keyword count (int32_t), table's handle, a word that the module clears. */
enum {
    VYN_INFO_COUNT_OFFSET = 0,
    VYN_INFO_TABLE_OFFSET = 4,
    VYN_INFO_WORD_OFFSET = 12,
    VYN_INFO_SIZE = 16
};

/* The value record: keyword (zero-terminated), address of the value. */
enum { VYN_VALUE_KEYWORD_SIZE = 36, VYN_VALUE_ADDRESS_OFFSET = 36, VYN_VALUE_RECORD_SIZE = 44 };

/* --- Parameter records -------------------------------------------------------------------------
 */

/* Every record begins with its type's size word and the format's version; the fields follow. */
enum { VYN_RECORD_VERSION = 404, VYN_RECORD_FRAME = 8 };

#ifdef __cplusplus
}
#endif
