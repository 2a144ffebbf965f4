/* IMPORT FOREIGN SCHEMA: a table an object with a column a variable. */

#include "postgresql/extension.h"

#include <access/htup_details.h>
#include <lib/stringinfo.h>
#include <mb/pg_wchar.h>
#include <miscadmin.h>
#include <utils/builtins.h>

/* Column types by the numbers of the built-in types; those without a type have no form as values.
 */
static const char* const kTypes[] = {
    "text",        "bool",   "int2",   "int2",  "int2",        "int4", "int4",  "int8", "int8",
    "numeric(20)", "float4", "float8", "text",  "timestamptz", NULL,   "bytea", "text", "jsonb",
    "jsonb",       "int8",   "jsonb",  "jsonb", NULL,          "text", "text",  NULL,
};

enum { kObject = 1, kVariable = 2, kSuffix = 8 };

/* "SetPoint" becomes set_point; what is neither letter nor digit an underscore. */
static char* identifier_of(const char* name) {
    StringInfoData text;
    int length;
    initStringInfo(&text);
    for (const char* at = name; *at != '\0'; ++at) {
        const unsigned char byte = (unsigned char)*at;
        const bool upper = byte >= 'A' && byte <= 'Z';
        const bool plain =
            upper || byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9');
        const bool after_lower =
            at > name && ((at[-1] >= 'a' && at[-1] <= 'z') || (at[-1] >= '0' && at[-1] <= '9'));
        if (upper && after_lower) appendStringInfoChar(&text, '_');
        appendStringInfoChar(&text, plain ? (char)pg_ascii_tolower(byte) : '_');
    }
    if (text.len == 0) appendStringInfoChar(&text, '_');
    length = pg_mbcliplen(text.data, text.len, NAMEDATALEN - 1 - kSuffix);
    text.data[length] = '\0';
    return text.data;
}

static bool is_taken(List* names, const char* name) {
    ListCell* cell;
    foreach (cell, names) {
        if (strcmp(lfirst(cell), name) == 0) return true;
    }
    return false;
}

static char* unique(List** names, const char* name) {
    char* candidate = pstrdup(name);
    for (int i = 2; is_taken(*names, candidate); ++i) candidate = psprintf("%s_%d", name, i);
    *names = lappend(*names, candidate);
    return candidate;
}

/* Null when no column came about. */
static char* table_of(const char* name, const NimbChildren* children, const ForeignServer* server) {
    StringInfoData text;
    List* names = NIL;
    const NimbChild* child;
    initStringInfo(&text);
    appendStringInfo(&text, "CREATE FOREIGN TABLE %s (", quote_identifier(name));
    for (size_t i = 0; (child = nimb_child(children, i)) != NULL; ++i) {
        const char* type = child->node_class == kVariable && child->type >= 0 &&
                                   child->type < (int)lengthof(kTypes)
                               ? kTypes[child->type]
                               : NULL;
        if (type == NULL || list_length(names) == MaxHeapAttributeNumber) continue;
        if (names != NIL) appendStringInfoString(&text, ", ");
        appendStringInfo(&text, "%s %s%s OPTIONS (node %s)",
                         quote_identifier(unique(&names, identifier_of(child->name))), type,
                         child->rank >= 0 ? "[]" : "", quote_literal_cstr(child->node));
    }
    appendStringInfo(&text, ") SERVER %s", quote_identifier(server->servername));
    return names == NIL ? NULL : text.data;
}

static bool is_wanted(const ImportForeignSchemaStmt* statement, const char* name) {
    bool listed = false;
    ListCell* cell;
    if (statement->list_type == FDW_IMPORT_SCHEMA_ALL) return true;
    foreach (cell, statement->table_list) {
        listed = listed || strcmp(((RangeVar*)lfirst(cell))->relname, name) == 0;
    }
    return listed == (statement->list_type == FDW_IMPORT_SCHEMA_LIMIT_TO);
}

List* nimb_import(ImportForeignSchemaStmt* statement, Oid server_id) {
    const ForeignServer* server = GetForeignServer(server_id);
    NimbSession* session;
    const NimbChildren* parts;
    const NimbChild* child;
    List* names = NIL;
    List* commands = NIL;
    char* name;
    if (statement->options != NIL) {
        ereport(ERROR, (errcode(ERRCODE_FDW_INVALID_OPTION_NAME),
                        errmsg("there are no options for the import of a schema")));
    }
    session = nimb_open_session(server, GetUserId());
    parts = nimb_children(session, statement->remote_schema, server);
    name = unique(&names, identifier_of(nimb_parent_name(parts)));
    if (is_wanted(statement, name)) {
        char* command = table_of(name, parts, server);
        if (command != NULL) commands = lappend(commands, command);
    }
    for (size_t i = 0; (child = nimb_child(parts, i)) != NULL; ++i) {
        char* command = NULL;
        if (child->node_class != kObject) continue;
        name = unique(&names, identifier_of(child->name));
        if (is_wanted(statement, name)) {
            command = table_of(name, nimb_children(session, child->node, server), server);
        }
        if (command != NULL) commands = lappend(commands, command);
    }
    return commands;
}
