#pragma once

#include "errors/uac_err.h"

namespace nimb {

class VeltoList;

/// Appends the four items of a failure: the status 1, the kind, the code as a 64-bit integer and
/// the composed text as UTF-16.
void UAC_GetErrorList(const UACErr& error, VeltoList& list);

}  // namespace nimb
