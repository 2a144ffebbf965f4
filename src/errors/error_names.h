#pragma once

namespace nimb {

/// @return the name of an error kind (a UACERR_TYPE number); "Undefined Error" for any other number
const char* simpleErrorCodeName(long kind);

/// @return how an application error code is worded; "Undefined error" for a code without a name
const char* applicationErrorName(long code);

}  // namespace nimb
