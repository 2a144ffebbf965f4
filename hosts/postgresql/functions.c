/* The functions nimb.browse and nimb.changes. */

#include "postgresql/extension.h"

#include <access/table.h>
#include <catalog/pg_foreign_server.h>
#include <funcapi.h>
#include <miscadmin.h>
#include <utils/acl.h>
#include <utils/builtins.h>
#include <utils/syscache.h>

PG_FUNCTION_INFO_V1(nimbopcua_browse);
PG_FUNCTION_INFO_V1(nimbopcua_changes);

static void refuse_foreign(const char* name) {
    ereport(ERROR, (errcode(ERRCODE_WRONG_OBJECT_TYPE),
                    errmsg("\"%s\" does not belong to the foreign data wrapper nimbopcua", name)));
}

static void check_usage(const ForeignServer* server) {
#if PG_VERSION_NUM >= 160000
    const AclResult right =
        object_aclcheck(ForeignServerRelationId, server->serverid, GetUserId(), ACL_USAGE);
#else
    const AclResult right = pg_foreign_server_aclcheck(server->serverid, GetUserId(), ACL_USAGE);
#endif
    if (right != ACLCHECK_OK) aclcheck_error(right, OBJECT_FOREIGN_SERVER, server->servername);
}

static void put(ReturnSetInfo* result, Datum* values, bool* nulls) {
    tuplestore_putvalues(result->setResult, result->setDesc, values, nulls);
}

static void forget_browse(void* argument) {
    if (argument != NULL) nimb_browse_free(argument);
}

/* What is held for the statement is registered before it exists: a cancel may follow at once. */
static MemoryContextCallback* hold(MemoryContextCallbackFunction forget) {
    MemoryContextCallback* callback = palloc0(sizeof *callback);
    callback->func = forget;
    MemoryContextRegisterResetCallback(CurrentMemoryContext, callback);
    return callback;
}

const NimbChildren* nimb_children(NimbSession* session, const char* node,
                                  const ForeignServer* server) {
    MemoryContextCallback* held = hold(forget_browse);
    NimbError error = {0};
    held->arg = nimb_browse(session, node, &error);
    CHECK_FOR_INTERRUPTS();
    if (held->arg == NULL) nimb_raise(&error, &(NimbPlace){.server = server->servername});
    return held->arg;
}

Datum nimbopcua_browse(PG_FUNCTION_ARGS) {
    const ForeignServer* server =
        GetForeignServerByName(text_to_cstring(PG_GETARG_TEXT_PP(0)), false);
    const char* node = text_to_cstring(PG_GETARG_TEXT_PP(1));
    const NimbChildren* children;
    const NimbChild* child;
    if (GetFdwRoutineByServerId(server->serverid)->IterateForeignScan != nimb_iterate_scan) {
        refuse_foreign(server->servername);
    }
    check_usage(server);
    InitMaterializedSRF(fcinfo, 0);
    children = nimb_children(nimb_open_session(server, GetUserId()), node, server);
    for (size_t i = 0; (child = nimb_child(children, i)) != NULL; ++i) {
        bool nulls[3] = {false, false, child->class_name[0] == '\0'};
        Datum values[3] = {CStringGetTextDatum(child->name), CStringGetTextDatum(child->node),
                           CStringGetTextDatum(child->class_name)};
        put((ReturnSetInfo*)fcinfo->resultinfo, values, nulls);
    }
    return (Datum)0;
}

static void forget_changes(void* argument) {
    if (argument != NULL) nimb_changes_free(argument);
}

static bool any_column(AttrNumber attno, void* argument) { return true; }

enum { kChangeColumns = 10, kFirstField = 2, kNode = 3, kLost = 9 };

/* Columns of a change from the third on. */
static const struct {
    NimbField field;
    NimbForm form;
} kFields[] = {
    {NIMB_NAME, NIMB_FORM_TEXT},          {NIMB_NODE_FIELD, NIMB_FORM_TEXT},
    {NIMB_VALUE_FIELD, NIMB_FORM_TEXT},   {NIMB_STATUS, NIMB_FORM_SCALAR},
    {NIMB_STATUS_NAME, NIMB_FORM_TEXT},   {NIMB_SOURCE_TIME, NIMB_FORM_SCALAR},
    {NIMB_SERVER_TIME, NIMB_FORM_SCALAR},
};

static void put_change(ReturnSetInfo* result, NimbChanges* changes, size_t row, Datum source,
                       const NimbPlace* place, NimbUnshown* unshown) {
    Datum values[kChangeColumns] = {0};
    bool nulls[kChangeColumns] = {false};
    int64 number;
    int64 lost;
    nimb_change(changes, row, &number, &lost);
    values[0] = Int64GetDatum(number);
    values[1] = source;
    for (size_t i = 0; i < lengthof(kFields); ++i) {
        NimbError error = {0};
        NimbCell cell;
        if (!nimb_change_cell(changes, row, kFields[i].field, kFields[i].form, &cell, &error)) {
            nimb_raise(&error, place);
        }
        if (cell.warning != NULL && unshown->count++ == 0) {
            MemoryContext kept = MemoryContextSwitchTo(result->econtext->ecxt_per_query_memory);
            unshown->first =
                psprintf("%s, node %s", cell.warning, TextDatumGetCString(values[kNode]));
            MemoryContextSwitchTo(kept);
        }
        nulls[kFirstField + i] = cell.kind == NIMB_NULL;
        if (cell.kind == NIMB_NULL) continue;
        values[kFirstField + i] =
            kFields[i].form == NIMB_FORM_TEXT
                ? PointerGetDatum(cstring_to_text_with_len(cell.text, (int)cell.length))
                : Int64GetDatum(cell.integer);
    }
    nulls[kLost] = lost < 0;
    values[kLost] = Int64GetDatum(lost);
    put(result, values, nulls);
}

/* A table that is dropped while it is followed would keep its session. */
static void unfollow_dropped(const NimbPlace* place) {
    NimbError error = {0};
    Oid table;
    while (OidIsValid(table = nimb_doubted_table())) {
        if (SearchSysCacheExists1(RELOID, ObjectIdGetDatum(table))) continue;
        if (!nimb_unfollow(table, &error)) nimb_raise(&error, place);
    }
}

static NimbChanges* open_changes(Oid relid, int64 after, NimbPlace* place) {
    Relation relation = table_open(relid, AccessShareLock);
    const AclResult right = pg_class_aclcheck(relid, GetUserId(), ACL_SELECT);
    MemoryContextCallback* held = hold(forget_changes);
    const ForeignServer* server;
    NimbTable table;
    NimbError error = {0};
    place->table = pstrdup(RelationGetRelationName(relation));
    if (relation->rd_rel->relkind != RELKIND_FOREIGN_TABLE ||
        GetFdwRoutineForRelation(relation, false)->IterateForeignScan != nimb_iterate_scan) {
        refuse_foreign(place->table);
    }
    if (right != ACLCHECK_OK) aclcheck_error(right, OBJECT_FOREIGN_TABLE, place->table);
    nimb_read_table(relation, any_column, NULL, &table);
    server = GetForeignServer(GetForeignTable(relid)->serverid);
    place->server = server->servername;
    unfollow_dropped(place);
    held->arg = nimb_changes(nimb_open_session(server, GetUserId()), relid, nimb_nodes_of(&table),
                             after, (size_t)table.queue, &error);
    CHECK_FOR_INTERRUPTS();
    if (held->arg == NULL) nimb_raise(&error, place);
    table_close(relation, NoLock);
    return held->arg;
}

Datum nimbopcua_changes(PG_FUNCTION_ARGS) {
    MemoryContext row_memory =
        AllocSetContextCreate(CurrentMemoryContext, "nimb.changes", ALLOCSET_DEFAULT_SIZES);
    NimbPlace place = {0};
    NimbChanges* changes;
    Datum source;
    NimbUnshown unshown = {0};
    InitMaterializedSRF(fcinfo, 0);
    if (PG_ARGISNULL(0)) return (Datum)0;
    /* The largest number of an empty history is NULL. */
    changes = open_changes(PG_GETARG_OID(0), PG_ARGISNULL(1) ? 0 : PG_GETARG_INT64(1), &place);
    source = CStringGetTextDatum(place.table);
    for (size_t i = 0; i < nimb_changes_size(changes); ++i) {
        MemoryContext before = MemoryContextSwitchTo(row_memory);
        put_change((ReturnSetInfo*)fcinfo->resultinfo, changes, i, source, &place, &unshown);
        MemoryContextSwitchTo(before);
        MemoryContextReset(row_memory);
        CHECK_FOR_INTERRUPTS();
    }
    nimb_warn_unshown(&unshown);
    return (Datum)0;
}
