/* The door of the library: a host loads libnimbopcua.so, asks GetZFTable for the callout table and
 * calls entries through its rows. Plain C, so that any loader can include it. */
#ifndef NIMBOPCUA_CALLOUT_TABLE_H
#define NIMBOPCUA_CALLOUT_TABLE_H

#ifdef __cplusplus
extern "C" {
#endif

/* To be cast to the signature that the row's argument characters stand for. */
/* NOLINTNEXTLINE(modernize-use-using,modernize-redundant-void-arg): this header is C as well */
typedef void (*nimb_function)(void);

/* One row of the table. The strings and the table live as long as the library stays loaded. */
struct nimb_callout_row {
    const char* name;      /* entry name, for example "zfVersion" */
    const char* arguments; /* one character per argument, for example "Bb" */
    nimb_function function;
};

/* Records the host's callback pointer and its function table and returns the first row. A row
 * whose three fields are all null follows the last entry. Both arguments stay the host's; they may
 * be null, and a later call replaces them. */
const struct nimb_callout_row* GetZFTable(void* callback, nimb_function* function_table);

#ifdef __cplusplus
}
#endif

#endif
