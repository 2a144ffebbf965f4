#pragma once

#include <open62541/types.h>

#include "errors/uac_err.h"

namespace nimb {

class UACExport;
class VeltoList;

/// Converts one notified value: 0, the number the exporter returned, the items of the variant.
/// Timestamps and status are not converted.
UACErr UAC_TestDataValueProcessor(VeltoList* output, const UA_DataValue* value,
                                  const UACExport* options);

/// True when both timestamps agree, whatever the values: a source that stamps its values gives each
/// change a time of its own. Also true when either value is missing.
bool UAC_Simple_DataValue_Equals(const UA_DataValue* a, const UA_DataValue* b);

}  // namespace nimb
