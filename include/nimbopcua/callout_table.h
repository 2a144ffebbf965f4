/* The one door of the library: a host loads libnimbopcua.so, asks GetZFTable for the callout table
 * and calls entries through its rows. Plain C, so that any loader can include it.
 *
 * The rules of the boundary
 *
 *  1. Loading. GetZFTable comes first and may be called again. Table and strings are constant and
 *     live as long as the library stays loaded. Loading starts nothing; there is no shutdown call:
 *     destroy the clients (zfDestroyClientB) before the library is unloaded.
 *  2. Calling. A row's argument characters name its parameters from left to right; every entry
 *     returns int, and always 0:
 *         B  output, nimb_string*: receives the result list
 *         b  input, const nimb_string*: holds the argument list
 *         P  output, int*
 *         J  output, nimb_descriptor*: receives a buffer of the host's, see 9
 *         i  input, unsigned int by value
 *         1  in front of the others: the host's own mark, no parameter
 *  3. Lists. Arguments and results are lists of items, laid out as docs/list-encoding.md says. The
 *     first item of a result is the status: 0 and then the results, or 1 and then error kind, code
 *     and text. What each entry takes and answers stands in docs/entries.md.
 *  4. Who allocates. Both strings are the host's, may lie at any address, also an odd one, and are
 *     used only during the call. The library hands out no memory but what it obtains from the host
 *     (see 9).
 *  5. Null. A null input counts as one that cannot be read: kind 7, code 10. With a null output the
 *     call is carried out and its result dropped. A descriptor must not be null.
 *  6. Untrusted length. What lies behind the input's stated length is never read; a length above
 *     nimb_string_capacity counts as an input that cannot be read.
 *  7. Results that do not fit. The length of a result list is taken modulo 65536. If it then
 *     exceeds 32767 bytes nothing is written: the output keeps the length and bytes it had. A list
 *     of 65536 + n bytes arrives as its first n bytes. So set the output's length to 0 before the
 *     call and count the items after it.
 *  8. One call at a time. The library takes no lock: no two calls at once in a process, from
 *     whatever thread, and none from inside a function of the host's table. It has no thread of
 *     its own; a call blocks its caller, within the timeouts that docs/sessions.md gives. Handles
 *     belong to the process that made them, not to a fork of it.
 *  9. The host's functions. The table may be null; otherwise three slots, counted from 0, are
 *     called, each only during a call of the host's:
 *           9  int (long code, text* message, text* detail): the two texts of one of the host's
 *              error codes, as counted strings of up to 32767 16-bit units; 0 for success
 *         117  void (nimb_descriptor*): release the buffer that the descriptor holds, if any
 *         118  int (nimb_descriptor*, int size): provide a buffer of that many bytes; 0 for none
 * 10. No way around. No entry throws, and none ends the process, installs a signal handler or
 *     touches a standard stream. In turn the host's functions must return: an exception or a
 *     longjmp must never cross the library's frames. */
#ifndef NIMBOPCUA_CALLOUT_TABLE_H
#define NIMBOPCUA_CALLOUT_TABLE_H

/* NOLINTBEGIN(modernize-*): this header is C as well */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { nimb_string_capacity = 32767 };

/* The host's counted string, input and output of most entries. */
struct nimb_string {
    uint16_t length; /* bytes in use */
    unsigned char data[nimb_string_capacity];
};

/* A byte string whose buffer the host manages. */
struct nimb_descriptor {
    unsigned int length; /* set by the host when it provides a buffer */
    unsigned char* data;
};

/* To be cast to the signature that the row's argument characters stand for. */
typedef void (*nimb_function)(void);

/* One row of the table. */
struct nimb_callout_row {
    const char* name;      /* entry name, for example "zfVersion" */
    const char* arguments; /* argument characters, for example "Bb" */
    nimb_function function;
};

/* Records the host's callback pointer and its function table and returns the first row. A row
 * whose three fields are all null follows the last entry. Both arguments stay the host's; they may
 * be null, and a later call replaces them. */
const struct nimb_callout_row* GetZFTable(void* callback, nimb_function* function_table);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-*) */

#endif
