#include <cstdio>
#include <string>

#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "convert/ua_export.h"
#include "errors/log_file.h"
#include "host/version.h"

namespace nimb {

namespace {

std::string dotted(int major, int minor, int revision) {
    char text[36];
    std::snprintf(text, sizeof text, "%d.%d.%d", major, minor, revision);
    return text;
}

// Hosts read the numbers of a second component here, which this library does not have.
void appendSecondVersion(VeltoList& results) {
    results += 1;
    results += dotted(0, 0, 0);
    results += 0;
    results += 0;
    results += 0;
    results += std::string("undefined");
}

}  // namespace

void OpcuaStatic::returnUnsupported(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    callFrame(out, &kNoInput, "", [](const Arguments&, VeltoList&) -> UACErr {
        return {UACERR_APPLICATION, APPERR_OTHER,
                "Requested operation is not available in the NIMB OPC UA adapter."};
    });
}

void OpcuaStatic::getVersion(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    callFrame(out, &kNoInput, "", [](const Arguments&, VeltoList& results) -> UACErr {
        const std::string version =
            dotted(UAC_version_major, UAC_version_minor, UAC_version_revision);
        results += version;
        results += version + ' ' + UAC_version_text;
        results += UAC_version_major;
        results += UAC_version_minor;
        results += UAC_version_revision;
        results += UAC_version_build;
        results += std::string(UAC_version_text);
        results += 0;
        results += std::string(UAC_version_date);
        results += std::string(UAC_version_time);
        appendSecondVersion(results);
        return {};
    });
}

void OpcuaStatic::setLogFile(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B25]", [](const Arguments& arguments, VeltoList&) -> UACErr {
        UAC_SetLogFileName(arguments[0].AsAString());
        return {};
    });
}

void OpcuaStatic::getUStr(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B9]", [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const std::string escaped = arguments[0].AsAString();
        static_cast<void>(arguments[1].AsLong());
        results += UACExport::Escaped2UTF8(escaped.data(), escaped.size());
        return {};
    });
}

}  // namespace nimb
