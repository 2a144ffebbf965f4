#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "convert/ua_export.h"

namespace nimb {

void OpcuaStatic::dtcUA2Horolog(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B19]", 1, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const UA_DateTime time = arguments[0].AsLongLong();
        UACExport::addAsHorolog(&results, &time, false);
        return {};
    });
}

void OpcuaStatic::dtcHorolog2UA(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B20]", 1, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        UA_DateTime time = 0;
        UACExport::read(&time, &arguments.list(), 0, false);
        UACExport::addAsUADateTime(&results, &time);
        return {};
    });
}

void OpcuaStatic::dtcUA2ODBC(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B21]", 1, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const UA_DateTime time = arguments[0].AsLongLong();
        UACExport::addAsODBCDate(&results, &time, false);
        return {};
    });
}

}  // namespace nimb
