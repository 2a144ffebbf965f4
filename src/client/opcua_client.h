#pragma once

#include <open62541/client.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>

#include "client/bulk_read_req.h"
#include "client/publish_pace.h"
#include "convert/owned.h"
#include "errors/uac_err.h"

namespace nimb {

class NodeIdArray;
class ServerCheck;
class Specification;
class StackCall;
class Subscription;
class VeltoList;
struct BulkReadTexts;
struct SecurityMaterial;
struct SubscriptionRequest;

/// State of a session in the numbers that hosts know (the stack's own differ).
struct ClientState {
    UA_StatusCode connectStatus = UA_STATUSCODE_GOOD;
    int secureChannelState = 0;  ///< 0 undefined, 1 "HelSent" to 6 "Open", 7 "Closing", 8 "Closed"
    int sessionState = 0;        ///< 0 "Closed" to 5 "Closing"

    /// An open channel with a session that is not closed.
    [[nodiscard]] bool connected() const;
};

/// How a value of an OPC UA type is written.
enum class WriteForm { refused, integer, floatingPoint, text };

/// @param type  index of a built-in type; hosts are told that many of them cannot be written
[[nodiscard]] WriteForm writeFormOf(long type);

/// One OPC UA client session as the host sees it: the stack's client with the bulk reads and
/// subscriptions made through it. Everything runs on the host's calling thread.
class OpcuaClient {
  public:
    OpcuaClient();
    OpcuaClient(const OpcuaClient&) = delete;
    OpcuaClient& operator=(const OpcuaClient&) = delete;
    ~OpcuaClient();

    /// Makes a new stack client with the default configuration, in place of any older one. Bulk
    /// reads stay: hosts may prepare them before the first set-up.
    /// @param timeout  bound of every request in milliseconds, 1 or more
    UACErr setup(int timeout);
    /// The same for an encrypted channel.
    UACErr setupWithEncryption(int timeout, UA_MessageSecurityMode mode,
                               const std::string& applicationUri, const SecurityMaterial& material);
    /// Disconnects and discards the stack client, the bulk reads and the subscriptions. Nothing is
    /// sent for the subscriptions: they end with the session.
    UACErr clear();
    UACErr destroy() { return clear(); }

    /// True while the session must be set up again before use.
    [[nodiscard]] bool resetRequired() const { return resetRequired_; }
    void setResetRequired(bool required) { resetRequired_ = required; }

    /// Opens a session, closing an open one first. Blocks up to about twice the configured timeout
    /// when an open session's server no longer answers, else up to the timeout; the resolution of
    /// host names comes on top.
    UACErr connect(const char* url);
    /// The same with a user name; the stack's configuration keeps it and the password.
    UACErr connect(const char* url, const char* user, const char* password);
    UACErr disconnect();
    UACErr getState(ClientState* state) const;

    static const char* getStatusCodeName(unsigned int statusCode);
    static const char* getClientStateName(long state);
    static const char* getSecureChannelStateName(long state);
    static const char* getSessionStateName(long state);

    /// Reads the Value attribute with both timestamps. Only a failed service call is an error: the
    /// node's own status travels in the data value, which the caller then owns.
    UACErr readValueAttribute(UA_DataValue* out, const UA_NodeId& id);
    /// The same as results: source time, server time, status and value.
    UACErr readValueAttribute(VeltoList* out, const UA_NodeId& id);
    /// Reads the Value attribute as a bare variant, which the caller then owns.
    UACErr readValueAttribute(UA_Variant* out, const UA_NodeId& id);
    /// Reads any attribute into a value of the given type, which the caller then owns.
    UACErr readAttribute(void* out, const UA_NodeId& id, UA_AttributeId attribute,
                         const UA_DataType* type);
    /// @param type  1 to 7 or 18 (StatusCode); the low bytes of the value are written
    UACErr writeValueAttributeInt(long value, const UA_NodeId& id, long type);
    /// @param type  9 (Float, the value is narrowed) or 10 (Double)
    UACErr writeValueAttributeDouble(double value, const UA_NodeId& id, long type);
    UACErr writeValueAttributeStr(UA_String* value, const UA_NodeId& id);

    /// Appends three results: the first bad status, the continuation points, the browse results.
    /// They are appended even when a node was refused and the error says so.
    UACErr browse(VeltoList* out, const NodeIdArray& ids);

    /// Keeps a read request of the nodes' attributes under a new query handle.
    /// @param attributeIds  one for each node
    UACErr readBulkSetup(int* queryHandle, NodeIdArray ids, const UA_UInt32* attributeIds);
    UACErr readBulkSetup(int* queryHandle, Specification specification);
    /// Re-sends a prepared request; four items a node, straight into `out`.
    UACErr readBulkPoll(VeltoList* out, long queryHandle);
    /// The same with one sublist [value, source timestamp] a node.
    UACErr readBulkPollB(VeltoList* out, long queryHandle);
    /// The same with one sublist [source timestamp, server timestamp, status, value] a node.
    /// @param valueRequired  a node without a value fails the poll
    UACErr readBulkPollC(VeltoList* out, long queryHandle, bool valueRequired);
    UACErr readBulkClear(long queryHandle);

    /// @return the subscription of that id, or null; owned by this client
    Subscription* getSubscription(unsigned int id) const;
    /// Creates a subscription and its monitored items on the server.
    /// @param request  values asked for; on success overwritten with the server's revised ones
    UACErr createSubscription(unsigned int* id, const NodeIdArray& ids,
                              SubscriptionRequest& request);
    /// Drives the stack until something is reported for any subscription, at most for the time
    /// given, and turns queued notifications into lines. A signal that the host handles ends the
    /// wait.
    /// @param timeout   in milliseconds; 0 drives once without waiting
    /// @param maxLines  0 for no limit
    UACErr pollSubscription(VeltoList* out, unsigned int id, unsigned short timeout, int maxLines);
    UACErr deleteSubscription(unsigned int id);
    /// @return the subscription that waits for the answer to that request, or null
    [[nodiscard]] Subscription* subscriptionAwaiting(std::uint32_t requestId) const;

    /// Counts all that the stack reports of subscriptions, so that a poll sees that something came.
    void noteReport() { ++reports_; }

    /// The stack's client; null before set-up. Owned by this object.
    [[nodiscard]] UA_Client* stackClient() const { return client_.get(); }
    /// True from a connect that succeeded to the next disconnect: a connection lost by accident the
    /// stack may restore. On a closed session open62541 1.4 would open a new one within any service
    /// call, which no host expects of a client it disconnected.
    [[nodiscard]] bool sessionMayBeUsed() const { return sessionOpened_; }

  private:
    struct StackClientDeleter {
        void operator()(UA_Client* client) const;
    };
    /// Defined with the subscriptions, on the floor above.
    struct SubscriptionDeleter {
        void operator()(Subscription* subscription) const;
    };
    using SubscriptionMap =
        std::map<std::uint32_t, std::unique_ptr<Subscription, SubscriptionDeleter>>;

    /// Disconnects and deletes the stack client with its subscriptions; the bulk reads stay.
    void discardStackClient();
    UACErr makeStackClient();
    UACErr finishSetup(int timeout);
    /// Tells the stack to report subscriptions that have gone silent.
    static void watchSubscriptions(UA_ClientConfig* config);
    void discardSubscriptions();
    void driveFor(Subscription& polled, unsigned short timeout);
    [[nodiscard]] bool driveOnce(const StackCall& call, std::int64_t timeout);
    /// Drives the stack and appends the three results of a poll.
    UACErr pollLines(VeltoList& out, Subscription& subscription, unsigned short timeout,
                     int maxLines);
    bool restoreConnection();
    /// Keep-alives that all subscriptions together expect in a second.
    [[nodiscard]] double keepAliveRate() const;

    void closeSession();
    UACErr closeBeforeConnect(const char* resetText);
    UACErr connectTo(const char* url);

    /// What every operation on the session checks first: a stack client, and no reset required.
    [[nodiscard]] UACErr checkUsable() const;
    /// The same for operations that send a request, behind catchUpAfterIdleTime().
    [[nodiscard]] UACErr prepareService();
    /// After a time without calls, lets the stack take in what the server did meanwhile: a channel
    /// that ended is opened again, in the same session, before a request could be lost with it.
    void catchUpAfterIdleTime();
    void noteUse();
    /// Closes the session when the server no longer has it, so that the state says so.
    void noteServiceResult(UA_StatusCode status);
    /// A service call that never opens a session by itself: on a closed one nothing is sent and
    /// the response, zero until then, carries BadConnectionClosed.
    void callService(const void* request, const UA_DataType* requestType, void* response,
                     const UA_DataType* responseType);
    UA_StatusCode writeValue(const UA_NodeId& id, void* value, std::size_t typeIndex);

    /// Servers keep few continuation points a session and hosts cannot use them. Whether the server
    /// grants it changes nothing for the host.
    /// @param begin  when the request was sent; this call has what is left of its timeout
    void releaseContinuationPoints(const UA_BrowseResponse& response,
                                   std::chrono::steady_clock::time_point begin);

    /// The one Read of a Value attribute, up to a response with its result.
    UACErr sendRead(const UA_NodeId& id, OwnedReadResponse& response);
    /// The steps that all polls share, up to a response with one result a node.
    UACErr sendBulkRead(long queryHandle, const BulkReadTexts& texts, OwnedReadResponse& response);

    std::unique_ptr<ServerCheck> serverCheck_;  ///< of an encrypted set-up; outlives the client
    std::unique_ptr<UA_Client, StackClientDeleter> client_;
    bool resetRequired_ = false;
    bool sessionOpened_ = false;
    std::int64_t lastUse_ = 0;  ///< milliseconds, on a clock that counts suspended time
    std::map<long, std::unique_ptr<BulkReadReq>> bulkReads_;
    long lastQueryHandle_ = 0;
    SubscriptionMap subscriptions_;
    std::uint64_t reports_ = 0;
    PublishPace pace_;
    /// Time of PublishPace of the last attempt to restore the connection within a poll.
    std::int64_t restoredAt_ = std::numeric_limits<std::int64_t>::min() / 2;
};

}  // namespace nimb
