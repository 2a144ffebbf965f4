/* UPDATE of tables with a column a node. Writing is not undone by ROLLBACK: plants have none. */

#include "postgresql/extension.h"

#include <access/sysattr.h>
#include <access/table.h>
#include <executor/executor.h>
#include <miscadmin.h>
#include <parser/parse_relation.h>
#include <parser/parsetree.h>
#include <utils/lsyscache.h>

typedef struct Modify {
    NimbTable table; /* the columns that the statement sets */
    ForeignServer* server;
    NimbWrites* writes; /* freed by the end of the statement, or with the memory of the query */
    MemoryContextCallback forget;
    bool done;
} Modify;

int nimb_is_updatable(Relation relation) {
    List* options = GetForeignTable(RelationGetRelid(relation))->options;
    return nimb_option(options, "nodes") == NULL ? 1 << CMD_UPDATE : 0;
}

static bool is_set(AttrNumber attno, void* argument) {
    return bms_is_member(attno - FirstLowInvalidHeapAttributeNumber, (Bitmapset*)argument);
}

static void check_columns(Relation relation, const NimbTable* table) {
    for (int i = 0; i < table->ncolumns; ++i) {
        const NimbColumn* column = &table->columns[i];
        NimbPlace place = {.table = RelationGetRelationName(relation),
                           .column = get_attname(RelationGetRelid(relation), column->attno, false)};
        const char* reason = column->field == NIMB_VALUE_FIELD ? NULL : "shows no value";
        for (int j = 0; j < i && reason == NULL; ++j) {
            if (table->columns[j].node == column->node) reason = "sets a node a second time";
        }
        if (reason == NULL) continue;
        ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
                        errmsg("OPC UA: the column cannot be written: it %s", reason),
                        nimb_detail(&place)));
    }
}

List* nimb_plan_modify(PlannerInfo* root, ModifyTable* plan, Index result, int subplan) {
    RangeTblEntry* entry = planner_rt_fetch(result, root);
    Relation relation = table_open(entry->relid, NoLock);
    NimbTable table;
#if PG_VERSION_NUM >= 160000
    Bitmapset* columns = getRTEPermissionInfo(root->parse->rteperminfos, entry)->updatedCols;
#else
    Bitmapset* columns = entry->updatedCols;
#endif
    nimb_read_table(relation, is_set, columns, &table);
    check_columns(relation, &table);
    table_close(relation, NoLock);
    return nimb_table_to_list(&table);
}

static Oid user_of(ResultRelInfo* result, EState* estate) {
#if PG_VERSION_NUM >= 160000
    const Oid user = ExecGetResultRelCheckAsUser(result, estate);
#else
    const Oid user = exec_rt_fetch(result->ri_RangeTableIndex, estate)->checkAsUser;
#endif
    return OidIsValid(user) ? user : GetUserId();
}

static void forget(void* argument) {
    Modify* modify = argument;
    if (modify->writes != NULL) nimb_writes_free(modify->writes);
    modify->writes = NULL;
}

static NimbPlace place_of(const ResultRelInfo* result, const NimbColumn* column) {
    const Modify* modify = result->ri_FdwState;
    const Relation relation = result->ri_RelationDesc;
    NimbPlace place = {.server = modify->server->servername,
                       .table = RelationGetRelationName(relation)};
    if (column != NULL) {
        place.column =
            NameStr(TupleDescAttr(RelationGetDescr(relation), column->attno - 1)->attname);
        place.node = strVal(list_nth(modify->table.nodes, column->node));
    }
    return place;
}

/* Whose node the error names. */
static const NimbColumn* column_of(const Modify* modify, const char* node) {
    for (int i = 0; i < modify->table.ncolumns; ++i) {
        const NimbColumn* column = &modify->table.columns[i];
        if (strcmp(strVal(list_nth(modify->table.nodes, column->node)), node) == 0) return column;
    }
    return NULL;
}

void nimb_begin_modify(ModifyTableState* state, ResultRelInfo* result, List* list, int subplan,
                       int flags) {
    Modify* modify = palloc0(sizeof *modify);
    EState* estate = state->ps.state;
    const Oid relid = RelationGetRelid(result->ri_RelationDesc);
    NimbError error = {0};
    if (flags & EXEC_FLAG_EXPLAIN_ONLY) return;
    nimb_table_from_list(list, &modify->table);
    modify->server = GetForeignServer(GetForeignTable(relid)->serverid);
    modify->forget = (MemoryContextCallback){.func = forget, .arg = modify};
    MemoryContextRegisterResetCallback(estate->es_query_cxt, &modify->forget);
    result->ri_FdwState = modify;
    modify->writes = nimb_writes(nimb_open_session(modify->server, user_of(result, estate)),
                                 nimb_nodes_of(&modify->table), &error);
    CHECK_FOR_INTERRUPTS();
    if (modify->writes == NULL) {
        const NimbPlace place = place_of(result, column_of(modify, error.node));
        nimb_raise(&error, &place);
    }
}

static void check_values(ResultRelInfo* result, TupleTableSlot* slot) {
    Modify* modify = result->ri_FdwState;
    for (int i = 0; i < modify->table.ncolumns; ++i) {
        const NimbColumn* column = &modify->table.columns[i];
        const NimbPlace place = place_of(result, column);
        const Oid type = TupleDescAttr(slot->tts_tupleDescriptor, column->attno - 1)->atttypid;
        NimbError error = {0};
        bool isnull;
        const Datum value = slot_getattr(slot, column->attno, &isnull);
        const NimbCell cell = nimb_cell_of(type, value, isnull, &place);
        if (!nimb_writes_set(modify->writes, (size_t)column->node, &cell, &error)) {
            nimb_raise(&error, &place);
        }
    }
}

static void refuse_written(const NimbError* error, const NimbPlace* place, int written) {
    CHECK_FOR_INTERRUPTS();
    ereport(ERROR,
            (errcode(error->kind == NIMB_CONNECT ? ERRCODE_FDW_UNABLE_TO_ESTABLISH_CONNECTION
                                                 : ERRCODE_FDW_ERROR),
             errmsg("OPC UA: %s", error->text), nimb_detail(place),
             errhint("%sValues written before: %d; they stay written.",
                     error->in_doubt ? "The write may have been carried out. " : "", written)));
}

TupleTableSlot* nimb_update(EState* estate, ResultRelInfo* result, TupleTableSlot* slot,
                            TupleTableSlot* plan_slot) {
    Modify* modify = result->ri_FdwState;
    /* As with any table, a row that is joined with several others is updated once. */
    if (modify->done) return NULL;
    check_values(result, slot);
    modify->done = true;
    for (int i = 0; i < modify->table.ncolumns; ++i) {
        const NimbColumn* column = &modify->table.columns[i];
        NimbError error = {0};
        const bool sent = nimb_writes_send(modify->writes, (size_t)column->node, &error);
        if (!sent) {
            const NimbPlace place = place_of(result, column);
            refuse_written(&error, &place, i);
        }
        CHECK_FOR_INTERRUPTS();
    }
    return slot;
}

void nimb_end_modify(EState* estate, ResultRelInfo* result) {
    if (result->ri_FdwState != NULL) forget(result->ri_FdwState);
}
