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

typedef struct NodeScan {
    NimbTable table;
    ForeignServer* server;
    NimbScan* scan; /* freed by the end of the scan, or with the memory of the query */
    NimbTarget* targets;
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

static NimbPlace place_of(ForeignScanState* node, const char* column) {
    const NodeScan* scan = node->fdw_state;
    return (NimbPlace){.server = scan->server->servername,
                       .table = RelationGetRelationName(node->ss.ss_currentRelation),
                       .column = column};
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

    scan->targets = palloc0(sizeof(NimbTarget) * (size_t)(scan->table.ncolumns + 1));
    for (int i = 0; i < scan->table.ncolumns; ++i) {
        nimb_target(TupleDescAttr(RelationGetDescr(relation), scan->table.columns[i].attno - 1),
                    &scan->targets[i]);
    }
    if (list_length(scan->table.nodes) == 0) return; /* nothing of the row is wanted */

    scan->forget = (MemoryContextCallback){.func = forget, .arg = scan};
    MemoryContextRegisterResetCallback(node->ss.ps.state->es_query_cxt, &scan->forget);
    scan->scan = nimb_scan(nimb_open_session(scan->server, user_of(node)),
                           RelationGetRelid(relation), nimb_nodes_of(&scan->table), &error);
    if (scan->scan == NULL) {
        const NimbPlace place = place_of(node, NULL);
        nimb_raise(&error, &place);
    }
}

/* What the options say is an error: nodes that are not there, and Bad values if wanted so. */
static void check_nodes(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    for (int i = 0; i < scan->table.ncolumns && !scan->table.is_long; ++i) {
        const NimbColumn* column = &scan->table.columns[i];
        NimbPlace place = place_of(node, scan->targets[i].name);
        place.node = strVal(list_nth(scan->table.nodes, column->node));
        if (nimb_scan_missing(scan->scan, (size_t)column->node)) {
            ereport(ERROR, (errcode(ERRCODE_FDW_ERROR), errmsg("OPC UA: there is no such variable"),
                            nimb_detail(&place)));
        }
    }
}

static void read_nodes(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    NimbError error = {0};
    const bool done = nimb_scan_read(scan->scan, &error);
    CHECK_FOR_INTERRUPTS();
    if (!done) {
        const NimbPlace place = place_of(node, NULL);
        nimb_raise(&error, &place);
    }
    scan->was_read = true;
    check_nodes(node);
}

/* Inline: it is done for each value. */
static pg_attribute_always_inline NimbCell cell_of(ForeignScanState* node, int at, NimbField field,
                                                   NimbForm form, int column,
                                                   const char** warning) {
    NodeScan* scan = node->fdw_state;
    NimbError error; /* filled by what fails; clearing it for each value would be felt */
    NimbCell cell;
    if (!nimb_scan_cell(scan->scan, (size_t)at, field, form, &cell, warning, &error)) {
        const NimbPlace place = place_of(node, scan->targets[column].name);
        nimb_raise(&error, &place);
    }
    return cell;
}

/* The node's notation in memory of the row. */
static char* notation_of(ForeignScanState* node, int at, int column) {
    const char* ignored = NULL;
    return pstrdup(cell_of(node, at, NIMB_NODE_FIELD, NIMB_FORM_TEXT, column, &ignored).text);
}

static void refuse_bad(ForeignScanState* node, int at, int column) {
    NodeScan* scan = node->fdw_state;
    const char* ignored = NULL;
    NimbPlace place = place_of(node, scan->targets[column].name);
    place.node = notation_of(node, at, column);
    ereport(ERROR,
            (errcode(ERRCODE_FDW_ERROR),
             errmsg("OPC UA: the value is %s",
                    cell_of(node, at, NIMB_STATUS_NAME, NIMB_FORM_TEXT, column, &ignored).text),
             nimb_detail(&place)));
}

static void note_warning(ForeignScanState* node, int at, int column, const char* warning) {
    NodeScan* scan = node->fdw_state;
    if (scan->unshown.count++ > 0) return;
    scan->unshown.first =
        MemoryContextStrdup(node->ss.ps.state->es_query_cxt,
                            psprintf("%s, node %s", warning, notation_of(node, at, column)));
}

static bool fill_column(ForeignScanState* node, int i, Datum* datum) {
    NodeScan* scan = node->fdw_state;
    const NimbColumn* column = &scan->table.columns[i];
    NimbTarget* target = &scan->targets[i];
    const int at = scan->table.is_long ? scan->row : column->node;
    const bool is_value = column->field == NIMB_VALUE_FIELD;
    const char* warning = NULL;
    NimbPlace place;
    NimbCell cell;
    if (is_value && scan->table.error_on_bad && nimb_scan_bad(scan->scan, (size_t)at)) {
        refuse_bad(node, at, i);
    }
    cell = cell_of(node, at, column->field, target->form, i, &warning);
    if (is_value && cell.kind == NIMB_NULL && nimb_scan_missing(scan->scan, (size_t)at)) {
        warning = "there is no such variable";
    }
    if (warning != NULL) note_warning(node, at, i, warning);
    if (cell.kind == NIMB_NULL) return false;
    place = place_of(node, target->name);
    if (!scan->table.is_long) place.node = strVal(list_nth(scan->table.nodes, column->node));
    *datum = nimb_datum(target, &cell, &place);
    return true;
}

TupleTableSlot* nimb_iterate_scan(ForeignScanState* node) {
    NodeScan* scan = node->fdw_state;
    TupleTableSlot* slot = node->ss.ss_ScanTupleSlot;
    ExecClearTuple(slot);
    if (scan->scan != NULL && !scan->was_read) read_nodes(node);
    if (scan->row >= scan->table.rows) return slot;
    memset(slot->tts_isnull, true, sizeof(bool) * (size_t)slot->tts_tupleDescriptor->natts);
    for (int i = 0; i < scan->table.ncolumns; ++i) {
        const int at = scan->table.columns[i].attno - 1;
        slot->tts_isnull[at] = !fill_column(node, i, &slot->tts_values[at]);
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
