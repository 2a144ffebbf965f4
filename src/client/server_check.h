#pragma once

#include <open62541/client.h>

#include <string>
#include <vector>

#include "client/certificate.h"
#include "client/security_material.h"

namespace nimb {

/// The certificates of a trust list folder as their files hold them.
class TrustedFiles {
  public:
    explicit TrustedFiles(const std::vector<FileBytes>& files);

    /// Whether one of the files holds this very certificate, in DER or PEM form.
    [[nodiscard]] bool hold(Bytes certificate) const;

  private:
    std::vector<std::string> files_;  ///< PEM without white space
};

/// Decides whether a server may be talked to, before the first byte leaves on a channel with
/// security and before the stack uses the server's certificate. open62541 1.4.11 by itself
/// - crashes on a certificate whose key is not RSA, and on an endpoint that claims security with
///   the policy None;
/// - looks at the trust list only when the server repeats its certificate in the channel's opening,
///   which a server can leave out;
/// - compares neither host nor application with the certificate, and asks for no key usage.
///
/// What only says that a certificate was issued for something else (host, application URI, usage)
/// or is signed weakly refuses a server that an authority vouches for. Of a server whose own
/// certificate lies in the trust list folder it is a warning: there is no mistaking that one.
class ServerCheck {
  public:
    /// Puts itself in the way of the client's security policies.
    /// @param client  configured for encryption; must not outlive this object
    ServerCheck(UA_Client* client, const std::vector<FileBytes>& trustList);
    ServerCheck(const ServerCheck&) = delete;
    ServerCheck& operator=(const ServerCheck&) = delete;

    /// The URL of the connects to come; the server's certificate must be for its host.
    void expect(const char* url);

  private:
    using NewContext = UA_StatusCode (*)(const UA_SecurityPolicy*, const UA_ByteString*, void**);

    /// What stands before one policy. The only thing that a policy carries of its maker's is its
    /// logger, whose context this is.
    struct Guard {
        ServerCheck* check;
        NewContext original;
        UA_Logger logger;
    };

    static UA_StatusCode newContext(const UA_SecurityPolicy* policy,
                                    const UA_ByteString* certificate, void** context) noexcept;
    static void forwardLog(void* guard, UA_LogLevel level, UA_LogCategory category,
                           const char* message, va_list arguments);

    UA_StatusCode examine(const UA_SecurityPolicy& policy, const UA_ByteString& certificate);
    UA_StatusCode examineUnsecured();
    UA_StatusCode examineNames(const CertificateView& certificate);
    UA_StatusCode refuse(UA_StatusCode status, const std::string& reason);
    [[nodiscard]] const UA_Logger* logger() const;

    UA_Client* client_;
    TrustedFiles trusted_;
    std::string host_;
    std::vector<Guard> guards_;  ///< never grows: the policies point into it
};

}  // namespace nimb
