/* Errors: "OPC UA: what", and where in the detail. Passwords and addresses never enter a text. */

#include "postgresql/extension.h"

#include <lib/stringinfo.h>
#include <miscadmin.h>

static int sqlstate_of(NimbErrorKind kind) {
    switch (kind) {
        case NIMB_CONNECT:
            return ERRCODE_FDW_UNABLE_TO_ESTABLISH_CONNECTION;
        case NIMB_VALUE:
            return ERRCODE_FDW_INVALID_DATA_TYPE;
        case NIMB_RANGE:
            return ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE;
        case NIMB_NODE:
            return ERRCODE_FDW_INVALID_ATTRIBUTE_VALUE;
        case NIMB_LIBRARY:
            return ERRCODE_UNDEFINED_FILE;
        case NIMB_MEMORY:
            return ERRCODE_OUT_OF_MEMORY;
        case NIMB_TIMEOUT:
        case NIMB_OPCUA:
            break;
    }
    return ERRCODE_FDW_ERROR;
}

static const char* hint_of(NimbErrorKind kind) {
    switch (kind) {
        case NIMB_CONNECT:
            return "See the server's options url, timeout and certificate, and the user mapping.";
        case NIMB_TIMEOUT:
            return "The server option timeout says how long, in milliseconds, an answer may take.";
        case NIMB_LIBRARY:
            return "The setting nimbopcua.library has the library's path.";
        default:
            return NULL;
    }
}

int nimb_detail(const NimbPlace* place) {
    const struct {
        const char *what, *name;
    } parts[] = {{"server", place->server},
                 {"table", place->table},
                 {"column", place->column},
                 {"node", place->node}};
    StringInfoData text;
    initStringInfo(&text);
    for (size_t i = 0; i < lengthof(parts); ++i) {
        if (parts[i].name == NULL || parts[i].name[0] == '\0') continue;
        appendStringInfo(&text, "%s%s %s", text.len == 0 ? "" : ", ", parts[i].what, parts[i].name);
    }
    if (text.len == 0) return 0;
    text.data[0] = pg_toupper((unsigned char)text.data[0]);
    return errdetail("%s.", text.data);
}

void nimb_raise(const NimbError* error, const NimbPlace* place) {
    NimbPlace where = *place;
    const char* hint = hint_of(error->kind);
    CHECK_FOR_INTERRUPTS();
    if (where.node == NULL) where.node = error->node;
    ereport(ERROR, (errcode(sqlstate_of(error->kind)), errmsg("OPC UA: %s", error->text),
                    nimb_detail(&where), hint == NULL ? 0 : errhint("%s", hint)));
}

void nimb_warn_unshown(NimbUnshown* unshown) {
    if (unshown->count > 0) {
        ereport(WARNING,
                (errmsg("OPC UA: not to be shown, so NULL: %d of the values, the first because %s",
                        unshown->count, unshown->first)));
    }
    unshown->count = 0;
}
