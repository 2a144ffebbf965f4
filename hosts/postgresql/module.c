/* The extension's doors to PostgreSQL: load, handler, and what the backend tells. */

#include "postgresql/extension.h"

#include <fmgr.h>
#include <storage/ipc.h>
#include <utils/guc.h>
#include <utils/inval.h>
#include <utils/resowner.h>
#include <utils/syscache.h>

PG_MODULE_MAGIC;

char* nimb_library_path = NULL;

void _PG_init(void);
PG_FUNCTION_INFO_V1(nimbopcua_handler);

void _PG_init(void) {
    DefineCustomStringVariable("nimbopcua.library", "Path of the library that talks to plants.",
                               "Loaded by the first statement of a backend that uses a plant.",
                               &nimb_library_path, NIMB_INSTALLED_LIBRARY, PGC_SUSET,
                               GUC_SUPERUSER_ONLY, NULL, NULL, NULL);
    MarkGUCPrefixReserved("nimbopcua");
}

Datum nimbopcua_handler(PG_FUNCTION_ARGS) {
    FdwRoutine* routine = makeNode(FdwRoutine);
    routine->GetForeignRelSize = nimb_get_rel_size;
    routine->GetForeignPaths = nimb_get_paths;
    routine->GetForeignPlan = nimb_get_plan;
    routine->BeginForeignScan = nimb_begin_scan;
    routine->IterateForeignScan = nimb_iterate_scan;
    routine->ReScanForeignScan = nimb_rescan;
    routine->EndForeignScan = nimb_end_scan;
    routine->ExplainForeignScan = nimb_explain_scan;
    routine->IsForeignRelUpdatable = nimb_is_updatable;
    routine->PlanForeignModify = nimb_plan_modify;
    routine->BeginForeignModify = nimb_begin_modify;
    routine->ExecForeignUpdate = nimb_update;
    routine->EndForeignModify = nimb_end_modify;
    routine->ImportForeignSchema = nimb_import;
    PG_RETURN_POINTER(routine);
}

/* Invalidations come in the middle of anything, so they only mark. */
static void entry_changed(Datum argument, int cache, uint32 hash) {
    if (cache == USERMAPPINGOID) {
        nimb_mark_mapping(hash);
    } else {
        nimb_mark_server(hash);
    }
}

static void relation_changed(Datum argument, Oid relation) { nimb_mark_table(relation); }

/* A good-bye to a plant that does not answer takes its time: nobody may wait for our locks then. */
static void resources_released(ResourceReleasePhase phase, bool is_commit, bool is_top_level,
                               void* argument) {
    if (phase == RESOURCE_RELEASE_AFTER_LOCKS && is_top_level) nimb_tidy();
}

/* Behind the release of shared memory, for the same reason. */
static void process_ends(int code, Datum argument) { nimb_end(); }

void nimb_watch_backend(void) {
    static bool watching = false;
    if (watching) return;
    CacheRegisterSyscacheCallback(FOREIGNSERVEROID, entry_changed, (Datum)0);
    CacheRegisterSyscacheCallback(USERMAPPINGOID, entry_changed, (Datum)0);
    CacheRegisterRelcacheCallback(relation_changed, (Datum)0);
    RegisterResourceReleaseCallback(resources_released, NULL);
    on_proc_exit(process_ends, (Datum)0);
    watching = true;
}
