#pragma once

#include <cstdint>
#include <memory>

#include "convert/owned.h"
#include "errors/uac_err.h"

namespace nimb {

class UACExport;
class VeltoList;

/// Takes over what a data value owns and leaves it marked as not to be freed, so that its holder
/// may still clear it. Nothing is copied deep. The caller puts the answer into an owner at once.
[[nodiscard]] UA_DataValue takeOver(UA_DataValue* value);

/// One node that a subscription follows. Small and without what is rarely there, an error, because
/// every change brings its item in from memory.
class MonitoredItem {
  public:
    using Processor = UACErr (*)(VeltoList* output, const UA_DataValue* value,
                                 const UACExport* options);
    using Equals = bool (*)(const UA_DataValue* a, const UA_DataValue* b);

    /// @param monitoredItemId  the server's id
    /// @param itemIndex        1-based position of the node in the request
    MonitoredItem(std::uint32_t monitoredItemId, int itemIndex, Processor itemProcessor);

    /// Takes a value over as the latest one and gives the one before in exchange, unless it repeats
    /// that one.
    /// @param value  owned by the caller, before and after
    /// @return whether it was taken
    bool set(UA_DataValue* value);

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] int index() const { return index_; }
    [[nodiscard]] Processor processor() const { return processor_; }
    /// The latest value accepted for the host; zero until there is one.
    [[nodiscard]] const UA_DataValue& lastValue() const { return *lastValue_; }

    /// What went wrong at creation or with the latest notification.
    [[nodiscard]] UACErr error() const;
    /// Takes the latest error or its absence. Throws std::bad_alloc, and then the error stays.
    void setError(const UACErr& error) {
        if (error_ != nullptr || error.isError()) {
            replaceError(error);
        }
    }

    /// Status of the creation, later of the latest notified value.
    UA_StatusCode lastStatus = UA_STATUSCODE_GOOD;
    /// Notifications of this item dropped because the queue was full.
    std::uint32_t lossCount = 0;
    /// True until the server accepts the item, and again once the stack reports it deleted.
    bool inactive = true;

  private:
    void replaceError(const UACErr& error);

    std::uint32_t id_;
    int index_;
    Processor processor_;
    Equals equals_;
    std::unique_ptr<const UACErr> error_;
    OwnedDataValue lastValue_;
};

}  // namespace nimb
