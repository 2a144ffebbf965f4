#pragma once

#include <string>
#include <string_view>

#include "client/der.h"

namespace nimb {

/// The subject alternative names of a certificate: whom it was issued to. A view of its bytes. The
/// common name of the subject counts for nothing: OPC UA applications state their names here.
class CertificateNames {
  public:
    CertificateNames() = default;
    /// @param list  the content of the certificate's GeneralNames
    explicit CertificateNames(Bytes list) : list_(list) {}

    /// Whether one of them is this application URI, byte for byte.
    [[nodiscard]] bool application(std::string_view uri) const;

    /// Whether one of them is the host as a URL gives it: an address by its value, a name without
    /// regard to case and to a final dot; "*." stands for exactly one label. All names of this very
    /// machine ("localhost", 127.0.0.0/8, ::1) are one: the network cannot lead them elsewhere.
    /// @param host  without the brackets of an IPv6 address
    [[nodiscard]] bool host(std::string_view host) const;

    /// All of them for a log line, such as "URI:urn:pump, DNS:plant, IP:10.0.0.7"; what cannot be
    /// printed is replaced, and a long list is cut.
    [[nodiscard]] std::string text() const;

  private:
    Bytes list_;
};

}  // namespace nimb
