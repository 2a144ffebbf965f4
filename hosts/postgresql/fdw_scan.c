/* Scans: a statement sees one picture of a table's nodes. */

#include "postgresql/extension.h"

#include <access/sysattr.h>
#include <access/table.h>
#include <commands/explain.h>
#include <executor/executor.h>
#include <miscadmin.h>
#include <optimizer/optimizer.h>
#include <optimizer/pathnode.h>
#include <optimizer/planmain.h>
#include <optimizer/restrictinfo.h>

/* In units of the planner: a request is some milliseconds of waiting, a value microseconds. */
static const Cost kRequestCost = 1000;
static const Cost kNodeCost = 0.1;

typedef struct ScanColumn {
    NimbColumn column;
    NimbTarget target;
    NimbPlace place; /* for errors */
} ScanColumn;

typedef struct NodeScan {
    NimbTable table;
    ForeignServer* server;
    NimbScan* scan; /* freed by the end of the scan, or with the memory of the query */
    ScanColumn* columns;
    MemoryContextCallback forget;
    bool was_read;
    int row;
    NimbUnshown unshown;
} NodeScan;

static bool is_used(AttrNumber attno, void* argument) {
    const Bitmapset* used = argument;
    return bms_is_member(0 - FirstLowInvalidHeapAttributeNumber, used) ||
           bms_is_member(attno - FirstLowInvalidHeapAttributeNumber, used);
}

void nimb_get_rel_size(PlannerInfo* root, RelOptInfo* baserel, Oid relid) {
    NimbTable* table = palloc(sizeof *table);
    Bitmapset* used = NULL;
    ListCell* cell;
    Relation relation = table_open(relid, NoLock); /* the planner holds a lock */
    pull_varattnos((Node*)baserel->reltarget->exprs, baserel->relid, &used);
    foreach (cell, baserel->baserestrictinfo) {
        pull_varattnos((Node*)((RestrictInfo*)lfirst(cell))->clause, baserel->relid, &used);
    }
    nimb_read_table(relation, is_used, used, table);
    table_close(relation, NoLock);
    baserel->rows = table->rows;
    baserel->fdw_private = table;
}

void nimb_get_paths(PlannerInfo* root, RelOptInfo* baserel, Oid relid) {
    const NimbTable* table = baserel->fdw_private;
    const int nodes = table->is_long ? table->rows : list_length(table->nodes);
    const Cost total = kRequestCost + kNodeCost * nodes;
    add_path(baserel,
             (Path*)create_foreignscan_path(root, baserel, NULL, baserel->rows,
#if PG_VERSION_NUM >= 180000
                                            0,
#endif
                                            kRequestCost, total, NIL, baserel->lateral_relids, NULL,
#if PG_VERSION_NUM >= 170000
                                            NIL,
#endif
                                            NIL));
}

ForeignScan* nimb_get_plan(PlannerInfo* root, RelOptInfo* baserel, Oid relid, ForeignPath* path,
                           List* targets, List* clauses, Plan* outer) {
    return make_foreignscan(targets, extract_actual_clauses(clauses, false), baserel->relid, NIL,
                            nimb_table_to_list(baserel->fdw_private), NIL, NIL, outer);
}

/* The owner of a view reads what is behind it. */
static Oid user_of(ForeignScanState* node) {
    ForeignScan* plan = (ForeignScan*)node->ss.ps.plan;
#if PG_VERSION_NUM >= 160000
    const Oid user = plan->checkAsUser;
#else
    const Oid user = exec_rt_fetch(plan->scan.scanrelid, node->ss.ps.state)->checkAsUser;
#endif
    return OidIsValid(user) ? user : GetUserId();
}

static void forget(void* argument) {
    NodeScan* scan = argument;
    if (scan->scan != NULL) nimb_scan_free(scan->scan);
    scan->scan = NULL;
}

static NimbPlace place_of(const ForeignScanState* node) {
    const NodeScan* scan = node->fdw_state;
    return (NimbPlace){.server = scan->server->servername,
                       .table = RelationGetRelationName(node->ss.ss_currentRelation)};
}

static void prepare_columns(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    const TupleDesc row = RelationGetDescr(node->ss.ss_currentRelation);
    scan->columns = palloc0(sizeof(ScanColumn) * (size_t)(scan->table.ncolumns + 1));
    for (int i = 0; i < scan->table.ncolumns; ++i) {
        ScanColumn* it = &scan->columns[i];
        it->column = scan->table.columns[i];
        nimb_target(TupleDescAttr(row, it->column.attno - 1), &it->target);
        it->place = place_of(node);
        it->place.column = it->target.name;
        if (!scan->table.is_long) {
            it->place.node = strVal(list_nth(scan->table.nodes, it->column.node));
        }
    }
}

void nimb_begin_scan(ForeignScanState* node, int flags) {
    NodeScan* scan = palloc0(sizeof *scan);
    Relation relation = node->ss.ss_currentRelation;
    NimbError error = {0};
    nimb_table_from_list(((ForeignScan*)node->ss.ps.plan)->fdw_private, &scan->table);
    /* Not by way of the table, whose options may be long. */
    scan->server = GetForeignServer(((ForeignScan*)node->ss.ps.plan)->fs_server);
    node->fdw_state = scan;
    if (flags & EXEC_FLAG_EXPLAIN_ONLY) return;

    prepare_columns(node);
    if (list_length(scan->table.nodes) == 0) return; /* nothing of the row is wanted */

    scan->forget = (MemoryContextCallback){.func = forget, .arg = scan};
    MemoryContextRegisterResetCallback(node->ss.ps.state->es_query_cxt, &scan->forget);
    scan->scan = nimb_scan(nimb_open_session(scan->server, user_of(node)),
                           RelationGetRelid(relation), nimb_nodes_of(&scan->table), &error);
    if (scan->scan == NULL) {
        const NimbPlace place = place_of(node);
        nimb_raise(&error, &place);
    }
}

/* What the options say is an error: nodes that are not there, and Bad values if wanted so. */
static void check_nodes(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    for (int i = 0; i < scan->table.ncolumns && !scan->table.is_long; ++i) {
        if (nimb_scan_missing(scan->scan, (size_t)scan->table.columns[i].node)) {
            ereport(ERROR, (errcode(ERRCODE_FDW_ERROR), errmsg("OPC UA: there is no such variable"),
                            nimb_detail(&scan->columns[i].place)));
        }
    }
}

static void read_nodes(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    NimbError error = {0};
    const bool done = nimb_scan_read(scan->scan, &error);
    CHECK_FOR_INTERRUPTS();
    if (!done) {
        const NimbPlace place = place_of(node);
        nimb_raise(&error, &place);
    }
    scan->was_read = true;
    check_nodes(node);
}

/* Inline: it is done for each value. */
static pg_attribute_always_inline void get_cell(const NodeScan* scan, int node, NimbField field,
                                                NimbForm form, const NimbPlace* place,
                                                NimbCell* cell) {
    NimbError error; /* filled by what fails; clearing it for each value would be felt */
    if (!nimb_scan_cell(scan->scan, (size_t)node, field, form, cell, &error)) {
        nimb_raise(&error, place);
    }
}

static const char* text_of(const NodeScan* scan, int node, NimbField field,
                           const NimbPlace* place) {
    NimbCell cell;
    get_cell(scan, node, field, NIMB_FORM_TEXT, place, &cell);
    return cell.text;
}

static pg_noinline void refuse_bad(const NodeScan* scan, int node, NimbPlace place) {
    place.node = pstrdup(text_of(scan, node, NIMB_NODE_FIELD, &place));
    ereport(ERROR,
            (errcode(ERRCODE_FDW_ERROR),
             errmsg("OPC UA: the value is %s", text_of(scan, node, NIMB_STATUS_NAME, &place)),
             nimb_detail(&place)));
}

static pg_noinline void note_warning(ForeignScanState* state, int node, const NimbPlace* place,
                                     const char* warning) {
    NodeScan* scan = state->fdw_state;
    if (scan->unshown.count++ > 0) return;
    scan->unshown.first = MemoryContextStrdup(
        state->ss.ps.state->es_query_cxt,
        psprintf("%s, node %s", warning, text_of(scan, node, NIMB_NODE_FIELD, place)));
}

/* False for NULL. */
static bool fill_column(ForeignScanState* state, ScanColumn* it, Datum* datum) {
    const NodeScan* scan = state->fdw_state;
    const int node = scan->table.is_long ? scan->row : it->column.node;
    const bool is_value = it->column.field == NIMB_VALUE_FIELD;
    NimbCell cell;
    if (is_value && scan->table.error_on_bad && nimb_scan_bad(scan->scan, (size_t)node)) {
        refuse_bad(scan, node, it->place);
    }
    get_cell(scan, node, it->column.field, it->target.form, &it->place, &cell);
    if (is_value && cell.kind == NIMB_NULL && nimb_scan_missing(scan->scan, (size_t)node)) {
        cell.warning = "there is no such variable";
    }
    if (cell.warning != NULL) note_warning(state, node, &it->place, cell.warning);
    if (cell.kind == NIMB_NULL) return false;
    *datum = nimb_datum(&it->target, &cell, &it->place);
    return true;
}

TupleTableSlot* nimb_iterate_scan(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    TupleTableSlot* slot = node->ss.ss_ScanTupleSlot;
    ExecClearTuple(slot);
    if (scan->scan != NULL && !scan->was_read) read_nodes(node);
    if (scan->row >= scan->table.rows) return slot;
    if (scan->row == 0) { /* columns that are not wanted stay NULL in all rows */
        memset(slot->tts_isnull, true, sizeof(bool) * (size_t)slot->tts_tupleDescriptor->natts);
    }
    for (ScanColumn *it = scan->columns, *end = it + scan->table.ncolumns; it < end; ++it) {
        const int at = it->column.attno - 1;
        slot->tts_isnull[at] = !fill_column(node, it, &slot->tts_values[at]);
    }
    ++scan->row;
    if (scan->row == scan->table.rows) nimb_warn_unshown(&scan->unshown);
    return ExecStoreVirtualTuple(slot);
}

void nimb_rescan(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    scan->row = 0;
    scan->unshown.count = 0;
}

void nimb_end_scan(ForeignScanState* node) {
    if (node->fdw_state != NULL) forget(node->fdw_state);
}

void nimb_explain_scan(ForeignScanState* node, struct ExplainState* out) {
    const NodeScan* scan = node->fdw_state;
    size_t requests;
    size_t bytes;
    ExplainPropertyText("OPC UA Server", scan->server->servername, out);
    ExplainPropertyInteger("OPC UA Nodes", NULL,
                           scan->table.is_long ? scan->table.rows : list_length(scan->table.nodes),
                           out);
    if (!out->analyze || !scan->was_read) return;
    nimb_scan_cost(scan->scan, &requests, &bytes);
    ExplainPropertyInteger("OPC UA Requests", NULL, (int64)requests, out);
    ExplainPropertyInteger("OPC UA Bytes", NULL, (int64)bytes, out);
}
