#include <cstdio>
#include <string>
#include <string_view>

#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "callout/process_state.h"
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

/// Of a component that this library does not have: Compatibility C28.
void appendSecondVersion(VeltoList& list) {
    list += 1;
    list += dotted(0, 0, 0);
    list += 0;
    list += 0;
    list += 0;
    list += std::string("undefined");
}

VeltoList makeVersionItems() {
    const std::string version = dotted(UAC_version_major, UAC_version_minor, UAC_version_revision);
    VeltoList list;
    list += version;
    list += version + ' ' + UAC_version_text;
    list += UAC_version_major;
    list += UAC_version_minor;
    list += UAC_version_revision;
    list += UAC_version_build;
    list += std::string(UAC_version_text);
    list += 0;
    list += std::string(UAC_version_date);
    list += std::string(UAC_version_time);
    appendSecondVersion(list);
    return list;
}

}  // namespace

void OpcuaStatic::returnUnsupported(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    callFrame(out, &kNoInput, "", 0, [](const Arguments&, VeltoList&) -> UACErr {
        return {UACERR_APPLICATION, APPERR_OTHER,
                "Requested operation is not available in the NIMB OPC UA adapter."};
    });
}

void OpcuaStatic::getVersion(HostBytes* out) {
    static constexpr HostBytes kNoInput{};
    callFrame(out, &kNoInput, "", 0, [](const Arguments&, VeltoList& results) -> UACErr {
        VeltoList& items = processState().versionItems;
        if (items.empty()) {
            items = makeVersionItems();
        }
        results.appendList(items);
        return {};
    });
}

void OpcuaStatic::setLogFile(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B25]", 1, [](const Arguments& arguments, VeltoList&) -> UACErr {
        UAC_SetLogFileName(arguments[0].AsAString());
        return {};
    });
}

void OpcuaStatic::getUStr(HostBytes* out, const HostBytes* in) {
    callFrame(out, in, "[B9]", 2, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        std::string converted;
        const std::string_view escaped = arguments[0].AsAText(converted);
        static_cast<void>(arguments[1].AsLong());
        if (escaped.find('\\') == std::string_view::npos) {
            results.appendAChars(escaped.data(), escaped.size());
        } else {
            results += UACExport::Escaped2UTF8(escaped.data(), escaped.size());
        }
        return {};
    });
}

}  // namespace nimb
