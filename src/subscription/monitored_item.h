#pragma once

#include <cstdint>

#include "convert/owned.h"
#include "errors/uac_err.h"

namespace nimb {

class UACExport;
class VeltoList;

/// Takes over what a data value owns and leaves it marked as not to be freed, so that its holder
/// may still clear it. Nothing is copied deep. The caller puts the answer into an owner at once; a
/// bare value, because this is done twice for every change.
[[nodiscard]] UA_DataValue takeOver(UA_DataValue* value);

/// One node that a subscription follows.
class MonitoredItem {
  public:
    using Processor = UACErr (*)(VeltoList* output, const UA_DataValue* value,
                                 const UACExport* options);
    using Equals = bool (*)(const UA_DataValue* a, const UA_DataValue* b);

    /// @param monitoredItemId  the server's id
    /// @param itemIndex        1-based position of the node in the request
    MonitoredItem(std::uint32_t monitoredItemId, int itemIndex, Processor itemProcessor);

    /// Takes a value over as the latest one, releasing the one before, unless it repeats that one.
    /// @return whether it was taken
    bool set(UA_DataValue* value);

    [[nodiscard]] std::uint32_t id() const { return id_; }
    [[nodiscard]] int index() const { return index_; }
    [[nodiscard]] Processor processor() const { return processor_; }
    /// The latest value accepted for the host; zero until there is one.
    [[nodiscard]] const UA_DataValue& lastValue() const { return *lastValue_; }

    /// Status of the creation, later of the latest notified value.
    UA_StatusCode lastStatus = UA_STATUSCODE_GOOD;
    /// What went wrong at creation or with the latest notification.
    UACErr error;
    /// Notifications of this item dropped because the queue was full.
    std::uint32_t lossCount = 0;
    /// True until the server accepts the item, and again once the stack reports it deleted.
    bool inactive = true;

  private:
    std::uint32_t id_;
    int index_;
    Processor processor_;
    Equals equals_;
    OwnedDataValue lastValue_;
};

}  // namespace nimb
