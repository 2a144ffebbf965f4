#include "subscription/value_functions.h"

#include <open62541/types_generated.h>

#include "convert/ua_export.h"
#include "list/velto_list.h"

namespace nimb {

UACErr UAC_TestDataValueProcessor(VeltoList* output, const UA_DataValue* value,
                                  const UACExport* options) {
    if (value == nullptr) {
        return {UACERR_CLIENT, 10, "DataValue is not set"};
    }
    try {
        const long number = options->UA2CL(output, UA_TYPES_VARIANT, &value->value);
        output->insert(output->begin(), number);
        output->insert(output->begin(), 0);
        return {};
    } catch (const UACErr&) {
        throw;
    } catch (...) {
        return {UACERR_UNKNOWN, 10, "Unknown error processing data value"};
    }
}

bool UAC_Simple_DataValue_Equals(const UA_DataValue* a, const UA_DataValue* b) {
    return a == nullptr || b == nullptr ||
           (a->sourceTimestamp == b->sourceTimestamp && a->serverTimestamp == b->serverTimestamp);
}

}  // namespace nimb
