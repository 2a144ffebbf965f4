#pragma once

/* What the files of the PostgreSQL side share. They are C: PostgreSQL raises errors by longjmp. */

#include <postgres.h>

#include <foreign/fdwapi.h>
#include <foreign/foreign.h>
#include <nodes/pg_list.h>
#include <utils/rel.h>

#include "postgresql/core.h"

/** What an error is about, for its detail; null members are left out. */
typedef struct NimbPlace {
    const char *server, *table, *column, *node;
} NimbPlace;

/** Raises the error of a call. Pending cancels and timeouts go first: they were waited for. */
void nimb_raise(const NimbError* error, const NimbPlace* place) pg_attribute_noreturn();
int nimb_detail(const NimbPlace* place);

/* Values that are NULL because they cannot be shown, since the last warning. */
typedef struct NimbUnshown {
    int count;
    const char* first; /* why the first cannot, and its node */
} NimbUnshown;
/* Warns of them, if there are any, and begins anew. */
void nimb_warn_unshown(NimbUnshown* unshown);

/** The session of a user with a server. */
NimbSession* nimb_open_session(const ForeignServer* server, Oid user);
/** Follows invalidations and the end of transactions and of the process. */
void nimb_watch_backend(void);
/** The setting nimbopcua.library. */
extern char* nimb_library_path;

/** A column of a foreign table: the node it shows, by position, and what of it. */
typedef struct NimbColumn {
    AttrNumber attno;
    NimbField field;
    int node;
} NimbColumn;

/** What a table's options say. */
typedef struct NimbTable {
    bool is_long;      /**< a row a node, or else one row with a column a node */
    bool error_on_bad; /**< whether a Bad status is an error rather than NULL */
    int queue;         /**< changes that are kept for nimb.changes */
    List* nodes;       /**< String: the distinct nodes, or one text that names all */
    NimbColumn* columns;
    int ncolumns;
    int rows;
} NimbTable;

/** Whether one column is wanted. */
typedef bool (*NimbWanted)(AttrNumber attno, void* argument);

/** Reads the options of a table and of the columns that are wanted; raises errors. */
void nimb_read_table(Relation relation, NimbWanted wanted, void* argument, NimbTable* table);
/** The same as a list that a plan can hold, and back. */
List* nimb_table_to_list(const NimbTable* table);
void nimb_table_from_list(List* list, NimbTable* table);
/** A view of the list of nodes; the array is palloc'd. */
NimbNodes nimb_nodes_of(const NimbTable* table);
/** The value of an option, or null. */
const char* nimb_option(List* options, const char* name);

/** How values get into a column. */
typedef struct NimbTarget {
    Oid type, base;
    int32 typmod;
    NimbForm form;
    unsigned kinds; /**< NimbKind: those that it can hold, a bit each */
    bool direct;    /**< no input function is needed */
    FmgrInfo input; /**< looked up by the first value that needs it */
    Oid ioparam;
    MemoryContext memory; /**< of the input function's own data */
    const char* name;
} NimbTarget;

void nimb_target(Form_pg_attribute attribute, NimbTarget* target);
/** Converts a cell that is not NULL; raises errors of type and range. */
Datum nimb_datum(NimbTarget* target, const NimbCell* cell, const NimbPlace* place);
/** The cell of a value that is written; its text is palloc'd. */
NimbCell nimb_cell_of(Oid type, Datum value, bool isnull, const NimbPlace* place);

void nimb_get_rel_size(PlannerInfo* root, RelOptInfo* baserel, Oid relid);
void nimb_get_paths(PlannerInfo* root, RelOptInfo* baserel, Oid relid);
ForeignScan* nimb_get_plan(PlannerInfo* root, RelOptInfo* baserel, Oid relid, ForeignPath* path,
                           List* targets, List* clauses, Plan* outer);
void nimb_begin_scan(ForeignScanState* node, int flags);
TupleTableSlot* nimb_iterate_scan(ForeignScanState* node);
void nimb_rescan(ForeignScanState* node);
void nimb_end_scan(ForeignScanState* node);
void nimb_explain_scan(ForeignScanState* node, struct ExplainState* out);

int nimb_is_updatable(Relation relation);
List* nimb_plan_modify(PlannerInfo* root, ModifyTable* plan, Index result, int subplan);
void nimb_begin_modify(ModifyTableState* state, ResultRelInfo* result, List* list, int subplan,
                       int flags);
TupleTableSlot* nimb_update(EState* estate, ResultRelInfo* result, TupleTableSlot* slot,
                            TupleTableSlot* plan_slot);
void nimb_end_modify(EState* estate, ResultRelInfo* result);

/** What a node consists of, freed with the current memory context. Raises errors. */
const NimbChildren* nimb_children(NimbSession* session, const char* node,
                                  const ForeignServer* server);
List* nimb_import(ImportForeignSchemaStmt* statement, Oid server);
