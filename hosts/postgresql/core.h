#pragma once

/// The part of the extension that talks to plants, seen by the part that talks to PostgreSQL.
///
/// PostgreSQL raises its errors by longjmp, C++ by unwinding, and neither may cross the other's
/// frames. So these functions never throw and never call PostgreSQL, all memory behind them is the
/// heap's, and what they hand out is either freed by a function below or valid until the next call
/// for the same object. Functions that can fail return false and fill the error.

/* NOLINTBEGIN(modernize-*): a header for C too. */
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum NimbErrorKind {
    NIMB_CONNECT, /**< there is no session with the server */
    NIMB_TIMEOUT, /**< the server did not answer in time */
    NIMB_OPCUA,   /**< the server or the library refused */
    NIMB_VALUE,   /**< a value or node of the wrong type or form */
    NIMB_RANGE,   /**< a number that does not fit */
    NIMB_NODE,    /**< a text that names no node */
    NIMB_LIBRARY, /**< the library cannot be loaded */
    NIMB_MEMORY,
} NimbErrorKind;

typedef struct NimbError {
    NimbErrorKind kind;
    char text[400];
    char node[200]; /**< notation of the node at fault; empty when none is */
    bool in_doubt;  /**< it ended a write that may have been carried out all the same */
} NimbError;

/** A server and how to get at it. Null texts count as empty; a null user name is an anonymous one.
 */
typedef struct NimbPlant {
    const char *url, *certificate, *key, *trusted, *revoked, *uri, *username, *password;
    int timeout;    /**< milliseconds */
    int idle_close; /**< seconds without use after which the session is closed; below 0: never */
} NimbPlant;

/** What a session belongs to, and the catalogue entries that it was made from. */
typedef struct NimbSessionKey {
    uint32_t server, mapping;
    uint32_t server_hash, mapping_hash; /**< by which invalidations name them */
} NimbSessionKey;

typedef struct NimbSession NimbSession;

/**
 * The backend's session for the key: the one that is there, or a new one; it connects when it is
 * first used. With another plant than before the old session is given up.
 * @param library  path of the library, which is loaded by the first call
 * @return valid until the transaction ends; null on error
 */
NimbSession* nimb_session(const NimbSessionKey* key, const NimbPlant* plant, const char* library,
                          NimbError* error);

/** Mark what an invalidation names; 0 names everything. Nothing is closed before tidying. */
void nimb_mark_server(uint32_t hash);
void nimb_mark_mapping(uint32_t hash);
void nimb_mark_table(uint32_t table);
/** Closes what is marked or was idle for long. To be called when no locks are held any more. */
void nimb_tidy(void);
/** Ends all sessions, unless a call is under way: for the end of the process. */
void nimb_end(void);

/** The number of nodes that a text names, separated by white space; below 0 on error. */
int nimb_count_nodes(const char* text, NimbError* error);
/** Whether a text names one node. */
bool nimb_check_node(const char* text, NimbError* error);

/** The nodes of a table: one text each, or, with `is_list`, one text that names them all. */
typedef struct NimbNodes {
    const char* const* texts;
    size_t count;
    bool is_list;
} NimbNodes;

typedef enum NimbKind {
    NIMB_NULL,
    NIMB_BOOL,
    NIMB_INTEGER,
    NIMB_UNSIGNED,
    NIMB_REAL,
    NIMB_TIME, /**< integer: microseconds since 2000-01-01 UTC */
    NIMB_TEXT, /**< UTF-8 without zero bytes, NUL-terminated behind its length */
    NIMB_BYTES,
    NIMB_ARRAY, /**< text: an array literal, or JSON where the form says so */
} NimbKind;

/** How a value is wanted. Only arrays and values of several parts differ, but for the last two. */
typedef enum NimbForm {
    NIMB_FORM_SCALAR,
    NIMB_FORM_ARRAY,      /**< array literal with elements as text */
    NIMB_FORM_JSON_ARRAY, /**< array literal with elements as JSON */
    NIMB_FORM_TEXT,       /**< any value as text */
    NIMB_FORM_JSON,       /**< any value as JSON */
} NimbForm;

typedef struct NimbCell {
    NimbKind kind;
    union {
        bool boolean;
        int64_t integer;
        uint64_t unsigned_integer;
        double real;
    };
    const char* text; /**< valid until the next call for the same object */
    size_t length;
    const char* warning; /**< why a value that is there cannot be shown, or null */
} NimbCell;

typedef enum NimbField {
    NIMB_VALUE_FIELD,
    NIMB_STATUS,
    NIMB_STATUS_NAME,
    NIMB_SOURCE_TIME,
    NIMB_SERVER_TIME,
    NIMB_NAME,
    NIMB_NODE_FIELD,
    NIMB_TYPE,
} NimbField;

typedef struct NimbScan NimbScan;

/**
 * Some nodes of a table, to be read in one request as long as their values fit into a result. The
 * request is kept with the session and found again by table and nodes.
 */
NimbScan* nimb_scan(NimbSession* session, uint32_t table, NimbNodes nodes, NimbError* error);
/** Reads all nodes: one picture, which the functions below show. */
bool nimb_scan_read(NimbScan* scan, NimbError* error);
size_t nimb_scan_size(const NimbScan* scan);
/** Whether the server has no such node, or it is no variable. */
bool nimb_scan_missing(const NimbScan* scan, size_t node);
/** Whether the value's status is Bad. */
bool nimb_scan_bad(const NimbScan* scan, size_t node);
/** One field of a node. */
bool nimb_scan_cell(NimbScan* scan, size_t node, NimbField field, NimbForm form, NimbCell* cell,
                    NimbError* error);
/** Requests and bytes of the last reading. */
void nimb_scan_cost(const NimbScan* scan, size_t* requests, size_t* bytes);
void nimb_scan_free(NimbScan* scan);

typedef struct NimbWrites NimbWrites;

/** The nodes that a statement writes. Fails, naming the node, if one of them cannot be written. */
NimbWrites* nimb_writes(NimbSession* session, NimbNodes nodes, NimbError* error);
/** Checks a value for a node of them. Nothing is sent. */
bool nimb_writes_set(NimbWrites* writes, size_t node, const NimbCell* value, NimbError* error);
/** Sends the value of a node that was set. */
bool nimb_writes_send(NimbWrites* writes, size_t node, NimbError* error);
void nimb_writes_free(NimbWrites* writes);

typedef struct NimbChild {
    const char *name, *node, *class_name;
    int node_class; /**< 1 object, 2 variable; 0 unknown */
    int type;       /**< number of a variable's built-in type; 0 any */
    int rank;       /**< -1 scalar, 0 and more array, less: either */
} NimbChild;
typedef struct NimbChildren NimbChildren;

/** The nodes that a node refers to as its parts, and what they are. */
NimbChildren* nimb_browse(NimbSession* session, const char* node, NimbError* error);
/** Null behind the last one. */
const NimbChild* nimb_child(const NimbChildren* children, size_t i);
/** Browse name of the browsed node itself. */
const char* nimb_parent_name(const NimbChildren* children);
void nimb_browse_free(NimbChildren* children);

typedef struct NimbChanges NimbChanges;

/**
 * The changes of a table's nodes since they were first asked for, without those numbered up to
 * `after`, which are forgotten. Waits 0.3 s when there are none, 3 s for the first.
 * @param most  changes to keep at most
 */
NimbChanges* nimb_changes(NimbSession* session, uint32_t table, NimbNodes nodes, int64_t after,
                          size_t most, NimbError* error);
/** Names a followed table that an invalidation marked and that may be gone, once; 0: no more. */
uint32_t nimb_doubted_table(void);
/** Follows a table no longer; its session is closed by tidying. */
bool nimb_unfollow(uint32_t table, NimbError* error);
size_t nimb_changes_size(const NimbChanges* changes);
/** Number of a change, and losses before it: below 0 when nobody knows. */
void nimb_change(const NimbChanges* changes, size_t i, int64_t* number, int64_t* lost);
/** As nimb_scan_cell. */
bool nimb_change_cell(NimbChanges* changes, size_t i, NimbField field, NimbForm form,
                      NimbCell* cell, NimbError* error);
void nimb_changes_free(NimbChanges* changes);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-*) */
