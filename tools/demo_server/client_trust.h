#pragma once

#include <open62541/plugin/pki.h>

#include <functional>
#include <string>

#include "demo_server/certificate_folder.h"

namespace nimb::plant {

/// Decides on clients by a certificate folder, which is read anew for each of them: what is moved
/// into trusted/ counts at the next connect. Not copyable: the server's configuration points here.
class ClientTrust {
  public:
    using Say = std::function<void(const std::string&)>;

    /// Each refusal is told to `say`, in lines without a newline. Both must outlive the server.
    ClientTrust(const CertificateFolder& folder, Say say);
    ClientTrust(const ClientTrust&) = delete;
    ClientTrust& operator=(const ClientTrust&) = delete;
    ~ClientTrust();

    /// What a server's configuration wants; it borrows this object.
    UA_CertificateVerification verification() noexcept;

  private:
    static UA_StatusCode onVerify(const UA_CertificateVerification* verification,
                                  const UA_ByteString* certificate) noexcept;
    static UA_StatusCode onVerifyUri(const UA_CertificateVerification* verification,
                                     const UA_ByteString* certificate,
                                     const UA_String* uri) noexcept;

    UA_StatusCode verify(const UA_ByteString& certificate);
    UA_StatusCode judge(const UA_ByteString& certificate) const;
    void tellRefusal(const std::string& certificate, UA_StatusCode status);

    const CertificateFolder& folder_;
    Say say_;
    UA_CertificateVerification stack_{};  ///< the stack's own, with empty lists
};

}  // namespace nimb::plant
