/* Options of servers, user mappings, tables and columns. */

#include "postgresql/extension.h"

#include <access/reloptions.h>
#include <catalog/pg_attribute.h>
#include <catalog/pg_authid.h>
#include <catalog/pg_foreign_server.h>
#include <catalog/pg_foreign_table.h>
#include <catalog/pg_user_mapping.h>
#include <commands/defrem.h>
#include <mb/pg_wchar.h>
#include <miscadmin.h>
#include <nodes/makefuncs.h>
#include <utils/acl.h>
#include <utils/builtins.h>
#include <utils/syscache.h>

enum {
    kDefaultTimeout = 3000, /* milliseconds */
    kMostTimeout = 3600000,
    kMostIdle = 86400,      /* seconds */
    kDefaultQueue = 500000, /* changes */
    kMostQueue = 10000000,
};

typedef enum Check { kText, kUrl, kFile, kNumber, kNode, kNodes, kFieldName, kOnBad } Check;

static const struct {
    const char* name;
    Oid catalog;
    Check check;
    int least, most;
} kOptions[] = {
    {"url", ForeignServerRelationId, kUrl, 0, 0},
    {"timeout", ForeignServerRelationId, kNumber, 1, kMostTimeout},
    {"idle_close", ForeignServerRelationId, kNumber, 0, kMostIdle},
    {"certificate", ForeignServerRelationId, kFile, 0, 0},
    {"key", ForeignServerRelationId, kFile, 0, 0},
    {"trusted", ForeignServerRelationId, kFile, 0, 0},
    {"revoked", ForeignServerRelationId, kFile, 0, 0},
    {"uri", ForeignServerRelationId, kText, 0, 0},
    {"username", UserMappingRelationId, kText, 0, 0},
    {"password", UserMappingRelationId, kText, 0, 0},
    {"nodes", ForeignTableRelationId, kNodes, 0, 0},
    {"on_bad", ForeignTableRelationId, kOnBad, 0, 0},
    {"queue", ForeignTableRelationId, kNumber, 1, kMostQueue},
    {"node", AttributeRelationId, kNode, 0, 0},
    {"field", AttributeRelationId, kFieldName, 0, 0},
};

/* In the order of NimbField. The last three are of tables with a row a node alone. */
static const char* const kFields[] = {"value",       "status", "status_name", "source_time",
                                      "server_time", "name",   "node",        "type"};
enum { kWideFields = 5 };

static int field_of(const char* name) {
    for (size_t i = 0; i < lengthof(kFields); ++i) {
        if (strcmp(kFields[i], name) == 0) return (int)i;
    }
    return -1;
}

static void refuse(const char* option, const char* reason) {
    ereport(ERROR, (errcode(ERRCODE_FDW_INVALID_ATTRIBUTE_VALUE),
                    errmsg("option \"%s\" %s", option, reason)));
}

static int number_of(const char* option, const char* text, int least, int most) {
    char* end;
    long number;
    errno = 0;
    number = strtol(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || number < least || number > most) {
        refuse(option, psprintf("takes a whole number from %d to %d", least, most));
    }
    return (int)number;
}

/* Files are read with the rights of the server's process, so not everybody may name them. */
static void check_file_right(const char* option) {
    if (!has_privs_of_role(GetUserId(), ROLE_PG_READ_SERVER_FILES)) {
        ereport(ERROR, (errcode(ERRCODE_INSUFFICIENT_PRIVILEGE),
                        errmsg("permission denied to set option \"%s\"", option),
                        errdetail("Only superusers and members of pg_read_server_files may.")));
    }
}

static void check_value(Check check, const char* option, const char* value, int least, int most) {
    NimbError error = {0};
    switch (check) {
        case kText:
            break;
        case kUrl:
            if (strncmp(value, "opc.tcp://", 10) != 0) refuse(option, "must begin with opc.tcp://");
            break;
        case kFile:
            check_file_right(option);
            break;
        case kNumber:
            number_of(option, value, least, most);
            break;
        case kNode:
            if (!nimb_check_node(value, &error)) nimb_raise(&error, &(NimbPlace){0});
            break;
        case kNodes:
            if (nimb_count_nodes(value, &error) < 0) nimb_raise(&error, &(NimbPlace){0});
            break;
        case kFieldName:
            if (field_of(value) < 0) refuse(option, "names no field of a node");
            break;
        case kOnBad:
            if (strcmp(value, "null") != 0 && strcmp(value, "error") != 0) {
                refuse(option, "is null or error");
            }
            break;
    }
}

static void check_option(const char* name, const char* value, Oid catalog) {
    StringInfoData valid;
    initStringInfo(&valid);
    for (size_t i = 0; i < lengthof(kOptions); ++i) {
        if (kOptions[i].catalog != catalog) continue;
        if (strcmp(kOptions[i].name, name) == 0) {
            check_value(kOptions[i].check, name, value, kOptions[i].least, kOptions[i].most);
            return;
        }
        appendStringInfo(&valid, "%s%s", valid.len > 0 ? ", " : "", kOptions[i].name);
    }
    ereport(ERROR, (errcode(ERRCODE_FDW_INVALID_OPTION_NAME), errmsg("invalid option \"%s\"", name),
                    valid.len > 0 ? errhint("Valid options here are: %s.", valid.data)
                                  : errhint("There are no options here.")));
}

PG_FUNCTION_INFO_V1(nimbopcua_validator);

Datum nimbopcua_validator(PG_FUNCTION_ARGS) {
    List* options = untransformRelOptions(PG_GETARG_DATUM(0));
    Oid catalog = PG_GETARG_OID(1);
    ListCell* cell;
    foreach (cell, options) {
        DefElem* option = lfirst(cell);
        check_option(option->defname, defGetString(option), catalog);
    }
    if (catalog == ForeignServerRelationId) {
        if (nimb_option(options, "url") == NULL) refuse("url", "is required");
        if ((nimb_option(options, "certificate") == NULL) !=
            (nimb_option(options, "key") == NULL)) {
            refuse("certificate", "needs the option \"key\", and the other way round");
        }
    }
    PG_RETURN_VOID();
}

const char* nimb_option(List* options, const char* name) {
    ListCell* cell;
    foreach (cell, options) {
        DefElem* option = lfirst(cell);
        if (strcmp(option->defname, name) == 0) return defGetString(option);
    }
    return NULL;
}

static int number_option(List* options, const char* name, int otherwise) {
    const char* text = nimb_option(options, name);
    return text == NULL ? otherwise : atoi(text);
}

/* The user's own mapping, else that of everybody, else none: an anonymous session. */
static UserMapping* mapping_of(Oid user, Oid server) {
    if (!SearchSysCacheExists2(USERMAPPINGUSERSERVER, user, server) &&
        !SearchSysCacheExists2(USERMAPPINGUSERSERVER, InvalidOid, server)) {
        return NULL;
    }
    return GetUserMapping(user, server);
}

NimbSession* nimb_open_session(const ForeignServer* server, Oid user) {
    const UserMapping* mapping = mapping_of(user, server->serverid);
    NimbPlant plant = {
        .url = nimb_option(server->options, "url"),
        .certificate = nimb_option(server->options, "certificate"),
        .key = nimb_option(server->options, "key"),
        .trusted = nimb_option(server->options, "trusted"),
        .revoked = nimb_option(server->options, "revoked"),
        .uri = nimb_option(server->options, "uri"),
        .username = mapping == NULL ? NULL : nimb_option(mapping->options, "username"),
        .password = mapping == NULL ? NULL : nimb_option(mapping->options, "password"),
        .timeout = number_option(server->options, "timeout", kDefaultTimeout),
        .idle_close = number_option(server->options, "idle_close", -1),
    };
    NimbSessionKey key = {
        .server = server->serverid,
        .server_hash = GetSysCacheHashValue1(FOREIGNSERVEROID, server->serverid),
    };
    NimbError error = {0};
    NimbSession* session;
    if (GetDatabaseEncoding() != PG_UTF8) {
        ereport(ERROR, (errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
                        errmsg("OPC UA: the encoding of the database must be UTF8")));
    }
    if (mapping != NULL) {
        key.mapping = mapping->umid;
        key.mapping_hash = GetSysCacheHashValue1(USERMAPPINGOID, mapping->umid);
    }
    nimb_watch_backend();
    session = nimb_session(&key, &plant, nimb_library_path, &error);
    if (session == NULL) nimb_raise(&error, &(NimbPlace){.server = server->servername});
    return session;
}

static int position_of(List** nodes, const char* node) {
    ListCell* cell;
    foreach (cell, *nodes) {
        if (strcmp(strVal(lfirst(cell)), node) == 0) return foreach_current_index(cell);
    }
    *nodes = lappend(*nodes, makeString(pstrdup(node)));
    return list_length(*nodes) - 1;
}

static void read_column(Relation relation, Form_pg_attribute attribute, NimbTable* table) {
    List* options = GetForeignColumnOptions(RelationGetRelid(relation), attribute->attnum);
    const char* name = NameStr(attribute->attname);
    const char* node = nimb_option(options, "node");
    const char* field_name = nimb_option(options, "field");
    int field = field_name != NULL ? field_of(field_name)
                : table->is_long   ? field_of(name)
                                   : NIMB_VALUE_FIELD;
    NimbColumn* column = &table->columns[table->ncolumns++];
    if (table->is_long ? node != NULL || field < 0 : node == NULL || field >= kWideFields) {
        ereport(ERROR,
                (errcode(ERRCODE_FDW_COLUMN_NAME_NOT_FOUND),
                 errmsg("column \"%s\" of foreign table \"%s\" has no meaning", name,
                        RelationGetRelationName(relation)),
                 table->is_long
                     ? errhint("Columns of a table with nodes are called name, node, value, type, "
                               "status, status_name, source_time or server_time, or have one of "
                               "these as the option field, and no option node.")
                     : errhint("Columns need the option node; field is value, status, "
                               "status_name, source_time or server_time.")));
    }
    column->attno = attribute->attnum;
    column->field = (NimbField)field;
    column->node = table->is_long ? 0 : position_of(&table->nodes, node);
}

void nimb_read_table(Relation relation, NimbWanted wanted, void* argument, NimbTable* table) {
    List* options = GetForeignTable(RelationGetRelid(relation))->options;
    TupleDesc columns = RelationGetDescr(relation);
    const char* nodes = nimb_option(options, "nodes");
    const char* on_bad = nimb_option(options, "on_bad");
    memset(table, 0, sizeof *table);
    table->is_long = nodes != NULL;
    table->error_on_bad = on_bad != NULL && strcmp(on_bad, "error") == 0;
    table->queue = number_option(options, "queue", kDefaultQueue);
    table->rows = 1;
    if (table->is_long) {
        NimbError error = {0};
        table->nodes = list_make1(makeString(pstrdup(nodes)));
        table->rows = Max(1, nimb_count_nodes(nodes, &error));
    }
    table->columns = palloc0(sizeof(NimbColumn) * (size_t)(columns->natts + 1));
    for (int i = 0; i < columns->natts; ++i) {
        Form_pg_attribute attribute = TupleDescAttr(columns, i);
        if (!attribute->attisdropped && wanted(attribute->attnum, argument)) {
            read_column(relation, attribute, table);
        }
    }
}

List* nimb_table_to_list(const NimbTable* table) {
    List* columns = NIL;
    for (int i = 0; i < table->ncolumns; ++i) {
        columns = lappend_int(columns, table->columns[i].attno);
        columns = lappend_int(columns, table->columns[i].field);
        columns = lappend_int(columns, table->columns[i].node);
    }
    return list_make3(table->nodes, columns,
                      list_make3_int(table->is_long, table->error_on_bad, table->rows));
}

void nimb_table_from_list(List* list, NimbTable* table) {
    List* columns = lsecond(list);
    List* flags = lthird(list);
    memset(table, 0, sizeof *table);
    table->nodes = linitial(list);
    table->is_long = linitial_int(flags) != 0;
    table->error_on_bad = lsecond_int(flags) != 0;
    table->rows = lthird_int(flags);
    table->ncolumns = list_length(columns) / 3;
    table->columns = palloc0(sizeof(NimbColumn) * (size_t)(table->ncolumns + 1));
    for (int i = 0; i < table->ncolumns; ++i) {
        table->columns[i].attno = (AttrNumber)list_nth_int(columns, 3 * i);
        table->columns[i].field = (NimbField)list_nth_int(columns, 3 * i + 1);
        table->columns[i].node = list_nth_int(columns, 3 * i + 2);
    }
}

NimbNodes nimb_nodes_of(const NimbTable* table) {
    NimbNodes nodes = {.count = (size_t)list_length(table->nodes), .is_list = table->is_long};
    const char** texts = palloc(sizeof *texts * (nodes.count + 1));
    ListCell* cell;
    foreach (cell, table->nodes) texts[foreach_current_index(cell)] = strVal(lfirst(cell));
    nodes.texts = texts;
    return nodes;
}
