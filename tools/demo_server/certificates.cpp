#include "demo_server/certificates.h"

#include <open62541/plugin/create_certificate.h>

#include <array>
#include <memory>
#include <stdexcept>

#include "demo_server/stack_values.h"
#include "demo_server/stderr_logger.h"
#include "nimbhost/certificates/private_key.h"

namespace nimb::plant {

namespace {

using Settings = std::unique_ptr<UA_KeyValueMap, decltype(&UA_KeyValueMap_delete)>;

Settings certificateSettings() {
    Settings settings(UA_KeyValueMap_new(), UA_KeyValueMap_delete);
    const auto set = [&](std::string_view name, UA_UInt16 value) {
        return UA_KeyValueMap_setScalar(settings.get(), {0, borrowed(name)}, &value,
                                        &UA_TYPES[UA_TYPES_UINT16]);
    };
    if (!settings || set("expires-in-days", 5 * 365) != UA_STATUSCODE_GOOD ||
        set("key-size-bits", 2048) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc();
    }
    return settings;
}

std::string textOf(const UA_ByteString& bytes) {
    return {reinterpret_cast<const char*>(bytes.data), bytes.length};
}

}  // namespace

CertificateAndKey makeCertificate(const std::string& commonName,
                                  const std::string& applicationUri) {
    const std::string name = "CN=" + commonName;
    const std::string uri = "URI:" + applicationUri;
    const std::array subject{borrowed(name)};
    const std::array names{borrowed(uri), borrowed("DNS:localhost"), borrowed("IP:127.0.0.1")};
    Owned<UA_ByteString, UA_TYPES_BYTESTRING> key;
    Owned<UA_ByteString, UA_TYPES_BYTESTRING> certificate;
    const UA_StatusCode status = UA_CreateCertificate(
        silentLogger(), subject.data(), subject.size(), names.data(), names.size(),
        UA_CERTIFICATEFORMAT_DER, certificateSettings().get(), &*key, &*certificate);
    if (status != UA_STATUSCODE_GOOD) {
        throw std::runtime_error(std::string("no certificate can be made: ") +
                                 UA_StatusCode_name(status));
    }
    return {textOf(*certificate), textOf(*key)};
}

bool belongTogether(const std::string& certificate, const std::string& key) {
    const auto read = nimbhost::Certificate::parse(certificate);
    return read && nimbhost::PrivateKey(key).belongsTo(*read);
}

std::string fingerprint(const std::string& certificate) {
    const auto read = nimbhost::Certificate::parse(certificate);
    return read ? read->sha256() : "";
}

std::string subjectOf(const std::string& certificate) {
    const auto read = nimbhost::Certificate::parse(certificate);
    return read ? read->subject() : "";
}

std::string lastDayOf(const std::string& certificate) {
    const auto read = nimbhost::Certificate::parse(certificate);
    return read ? nimbhost::dayText(read->notAfter()) : "";
}

}  // namespace nimb::plant
