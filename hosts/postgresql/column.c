/* Values on their way between plants and columns. */

#include "postgresql/extension.h"

#include <float.h>
#include <math.h>

#include <access/transam.h>
#include <catalog/pg_type.h>
#include <utils/builtins.h>
#include <utils/float.h>
#include <utils/fmgroids.h>
#include <utils/lsyscache.h>

static NimbForm form_of(Oid base) {
    Oid element;
    switch (base) {
        case BOOLOID: /* the common ones, without a look at the catalogue */
        case INT2OID:
        case INT4OID:
        case INT8OID:
        case FLOAT4OID:
        case FLOAT8OID:
        case NUMERICOID:
        case TIMESTAMPTZOID:
        case BYTEAOID:
            return NIMB_FORM_SCALAR;
        case JSONOID:
        case JSONBOID:
            return NIMB_FORM_JSON;
        case TEXTOID:
        case VARCHAROID:
        case BPCHAROID:
            return NIMB_FORM_TEXT;
        default:
            break;
    }
    element = get_element_type(base);
    if (!OidIsValid(element)) return NIMB_FORM_SCALAR;
    element = getBaseType(element);
    return element == JSONBOID || element == JSONOID ? NIMB_FORM_JSON_ARRAY : NIMB_FORM_ARRAY;
}

/* The kinds that a column may hold, a bit each: no value changes its kind on the way. */
static unsigned kinds_of(NimbForm form, Oid base) {
    const unsigned integers = 1U << NIMB_INTEGER | 1U << NIMB_UNSIGNED;
    if (form == NIMB_FORM_TEXT || form == NIMB_FORM_JSON) return ~0U;
    if (form != NIMB_FORM_SCALAR) return 1U << NIMB_ARRAY;
    switch (base) {
        case BOOLOID:
            return 1U << NIMB_BOOL;
        case INT2OID:
        case INT4OID:
        case INT8OID:
            return integers;
        case FLOAT4OID:
        case FLOAT8OID:
        case NUMERICOID:
            return integers | 1U << NIMB_REAL;
        case TIMESTAMPTZOID:
            return 1U << NIMB_TIME;
        case BYTEAOID:
            return 1U << NIMB_BYTES;
        default:
            return 0;
    }
}

void nimb_target(Form_pg_attribute attribute, NimbTarget* target) {
    target->type = attribute->atttypid;
    target->typmod = attribute->atttypmod;
    target->base = target->type < FirstGenbkiObjectId ? target->type : getBaseType(target->type);
    target->name = NameStr(attribute->attname);
    target->direct = target->base == target->type && target->typmod < 0;
    target->form = form_of(target->base);
    target->kinds = kinds_of(target->form, target->base);
    target->memory = CurrentMemoryContext;
}

static Datum input(NimbTarget* target, char* text) {
    if (!OidIsValid(target->input.fn_oid)) {
        Oid function;
        getTypeInputInfo(target->type, &function, &target->ioparam);
        fmgr_info_cxt(function, &target->input, target->memory);
    }
    return InputFunctionCall(&target->input, text, target->ioparam, target->typmod);
}

static const char* name_of(NimbKind kind) {
    static const char* const names[] = {"null",           "a truth value", "a whole number",
                                        "a whole number", "a number",      "a time",
                                        "a text",         "a byte string", "an array"};
    return names[kind];
}

static void refuse_type(const NimbTarget* target, const NimbCell* cell, const NimbPlace* place) {
    ereport(ERROR, (errcode(ERRCODE_FDW_INVALID_DATA_TYPE),
                    errmsg("OPC UA: column \"%s\" of type %s cannot hold %s", target->name,
                           format_type_be(target->type), name_of(cell->kind)),
                    nimb_detail(place)));
}

static void refuse_range(const NimbTarget* target, const NimbPlace* place) {
    ereport(ERROR, (errcode(ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE),
                    errmsg("OPC UA: the value is out of the range of column \"%s\" of type %s",
                           target->name, format_type_be(target->type)),
                    nimb_detail(place)));
}

static int64 integer_in(const NimbTarget* target, const NimbCell* cell, const NimbPlace* place) {
    const int64 greatest = target->base == INT2OID   ? PG_INT16_MAX
                           : target->base == INT4OID ? PG_INT32_MAX
                                                     : PG_INT64_MAX;
    const bool beyond = cell->kind == NIMB_UNSIGNED
                            ? cell->unsigned_integer > (uint64)greatest
                            : cell->integer > greatest || cell->integer < -greatest - 1;
    if (beyond) refuse_range(target, place);
    return cell->kind == NIMB_UNSIGNED ? (int64)cell->unsigned_integer : cell->integer;
}

static double real_in(const NimbTarget* target, const NimbCell* cell, const NimbPlace* place) {
    const double value = cell->kind == NIMB_REAL       ? cell->real
                         : cell->kind == NIMB_UNSIGNED ? (double)cell->unsigned_integer
                                                       : (double)cell->integer;
    if (target->base == FLOAT4OID && isfinite(value) && fabs(value) > FLT_MAX) {
        refuse_range(target, place);
    }
    return value;
}

/* False when the value has to go through the type's input function. */
static bool convert(const NimbTarget* target, const NimbCell* cell, const NimbPlace* place,
                    Datum* datum) {
    switch (target->base) {
        case INT2OID:
            *datum = Int16GetDatum((int16)integer_in(target, cell, place));
            return true;
        case INT4OID:
            *datum = Int32GetDatum((int32)integer_in(target, cell, place));
            return true;
        case INT8OID:
            *datum = Int64GetDatum(integer_in(target, cell, place));
            return true;
        case BOOLOID:
            *datum = BoolGetDatum(cell->boolean);
            return true;
        case FLOAT4OID:
            *datum = Float4GetDatum((float4)real_in(target, cell, place));
            return true;
        case FLOAT8OID:
            *datum = Float8GetDatum(real_in(target, cell, place));
            return true;
        case TIMESTAMPTZOID:
            *datum = Int64GetDatum(cell->integer); /* both count microseconds since 2000 */
            return true;
        case TEXTOID:
        case BYTEAOID:
            *datum = PointerGetDatum(cstring_to_text_with_len(cell->text, (int)cell->length));
            return true;
        default:
            return false;
    }
}

static char* text_of(const NimbCell* cell) {
    switch (cell->kind) {
        case NIMB_BOOL:
            return pstrdup(cell->boolean ? "true" : "false");
        case NIMB_INTEGER:
            return psprintf(INT64_FORMAT, cell->integer);
        case NIMB_UNSIGNED:
            return psprintf(UINT64_FORMAT, cell->unsigned_integer);
        case NIMB_REAL:
            return float8out_internal(cell->real);
        case NIMB_TIME:
            return OidOutputFunctionCall(F_TIMESTAMPTZ_OUT, Int64GetDatum(cell->integer));
        case NIMB_BYTES:
            return OidOutputFunctionCall(F_BYTEAOUT, PointerGetDatum(cstring_to_text_with_len(
                                                         cell->text, (int)cell->length)));
        default:
            return pstrdup(cell->text);
    }
}

static void input_failed(void* argument) {
    const NimbPlace* place = argument;
    errcontext("value of column \"%s\" of foreign table \"%s\", node %s", place->column,
               place->table, place->node);
}

static pg_noinline Datum datum_by_input(NimbTarget* target, const NimbCell* cell,
                                        const NimbPlace* place) {
    ErrorContextCallback context = {error_context_stack, input_failed, (void*)place};
    Datum datum;
    error_context_stack = &context;
    datum = input(target, text_of(cell));
    error_context_stack = context.previous;
    return datum;
}

Datum nimb_datum(NimbTarget* target, const NimbCell* cell, const NimbPlace* place) {
    Datum datum;
    if ((target->kinds >> cell->kind & 1) == 0) refuse_type(target, cell, place);
    return target->direct && convert(target, cell, place, &datum)
               ? datum
               : datum_by_input(target, cell, place);
}

/* A number of any length: as an integer when it is one, so that none of its digits gets lost. */
static NimbCell number_cell(const char* text) {
    NimbCell cell = {.kind = NIMB_INTEGER};
    char* end;
    errno = 0;
    cell.integer = strtoll(text, &end, 10);
    if (*end == '\0' && errno == 0) return cell;
    cell.kind = NIMB_REAL;
    cell.real = strtod(text, NULL);
    return cell;
}

NimbCell nimb_cell_of(Oid type, Datum value, bool isnull, const NimbPlace* place) {
    NimbCell cell = {.kind = NIMB_NULL};
    if (isnull) return cell;
    cell.kind = NIMB_INTEGER;
    switch (getBaseType(type)) {
        case INT2OID:
            cell.integer = DatumGetInt16(value);
            return cell;
        case INT4OID:
            cell.integer = DatumGetInt32(value);
            return cell;
        case INT8OID:
            cell.integer = DatumGetInt64(value);
            return cell;
        case FLOAT4OID:
            cell.kind = NIMB_REAL;
            cell.real = DatumGetFloat4(value);
            return cell;
        case FLOAT8OID:
            cell.kind = NIMB_REAL;
            cell.real = DatumGetFloat8(value);
            return cell;
        case NUMERICOID:
            return number_cell(OidOutputFunctionCall(F_NUMERIC_OUT, value));
        case TEXTOID:
        case VARCHAROID:
        case BPCHAROID:
            cell.kind = NIMB_TEXT;
            cell.text = TextDatumGetCString(value);
            cell.length = strlen(cell.text);
            return cell;
        default:
            ereport(ERROR,
                    (errcode(ERRCODE_FDW_INVALID_DATA_TYPE),
                     errmsg("OPC UA: values of type %s cannot be written", format_type_be(type)),
                     nimb_detail(place)));
    }
}
