#include "subscription/item_notification.h"

#include "convert/number_items.h"
#include "convert/type_index.h"
#include "convert/variant_shape.h"
#include "subscription/monitored_item.h"
#include "subscription/subscription.h"

namespace nimb {

ItemNotification::ItemNotification(Subscription* subscription, std::uint32_t monitoredItemId,
                                   UA_DataValue* value)
    : subscription_(subscription), monitoredItemId_(monitoredItemId), value_(takeOver(value)) {}

UACErr ItemNotification::convert() {
    const auto id = static_cast<int>(monitoredItemId_);
    if (subscription_ == nullptr) {
        return {UACERR_CLIENT, 10, "Subscription not set (%d)", id};
    }
    item_ = subscription_->itemById(monitoredItemId_);
    if (item_ == nullptr) {
        return {UACERR_CLIENT, 10, "Monitored item ID error (id=%d)", id};
    }
    if (item_->processor() == nullptr) {
        return {UACERR_CLIENT, 10, "Processor not set (%d)", id};
    }
    if (isScalar(value_->value) && isNumber(typeIndexOf(value_->value.type))) {
        return {};  // numbers always can, and are most of what comes
    }
    try {
        return item_->processor()(subscription_->emptyScratch(), value_.get(),
                                  &subscription_->exportOptions());
    } catch (const UACErr& raised) {
        return raised;
    } catch (...) {
        return {UACERR_UNKNOWN, 10, "Item notification processing error (id=%d)", id};
    }
}

void ItemNotification::process() noexcept {
    processed_ = true;
    try {
        error_ = convert();
        if (item_ != nullptr) {
            if (error_.isError() || item_->error.isError()) {
                item_->error = error_;
            }
            item_->lastStatus = value_->status;
        }
    } catch (...) {
        // Memory ran out while the error was worded; without a text it is still one.
        error_.kind = UACERR_UNKNOWN;
        error_.code = 10;
    }
}

}  // namespace nimb
