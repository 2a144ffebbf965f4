/* Loads the installed library as a host does, walks the callout table to its closing row and asks
 * for every entry by name as well. Prints one line per row; exits non-zero when anything is off. */
#include <dlfcn.h>
#include <nimbopcua/callout_table.h>
#include <stdio.h>
#include <string.h>

enum { expected_rows = 46 };

typedef const struct nimb_callout_row* (*table_getter)(void*, nimb_function*);

static int fail(const char* what, const char* detail) {
    fprintf(stderr, "consumer: %s: %s\n", what, detail == NULL ? "no detail" : detail);
    return 1;
}

/* C has no cast from object to function pointers, so the pointer's bytes are copied. */
static nimb_function symbol(void* library, const char* name) {
    void* address = dlsym(library, name);
    nimb_function function = NULL;
    memcpy(&function, &address, sizeof function);
    return function;
}

int main(void) {
    void* library = dlopen(LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        return fail("cannot load the library", dlerror());
    }
    table_getter get_table = (table_getter)symbol(library, "GetZFTable");
    if (get_table == NULL) {
        return fail("no GetZFTable", dlerror());
    }

    int rows = 0;
    const struct nimb_callout_row* row = get_table(NULL, NULL);
    for (; row->name != NULL && rows < expected_rows; ++row, ++rows) {
        printf("%2d %-26s %s\n", rows, row->name, row->arguments);
        if (row->function == NULL || row->function != symbol(library, row->name)) {
            return fail("row and exported entry differ", row->name);
        }
    }
    if (rows != expected_rows) {
        return fail("the table ends too early", NULL);
    }
    if (row->name != NULL || row->arguments != NULL || row->function != NULL) {
        return fail("the table goes on behind its last entry", row->name);
    }
    return dlclose(library) == 0 ? 0 : fail("cannot unload the library", dlerror());
}
