#include "subscription/item_notification.h"

#include "convert/number_items.h"
#include "convert/type_index.h"
#include "convert/variant_shape.h"
#include "subscription/monitored_item.h"
#include "subscription/subscription.h"
#include "subscription/value_functions.h"

namespace nimb {

ItemNotification::ItemNotification(Subscription* subscription, std::uint32_t monitoredItemId,
                                   UA_DataValue* value)
    : subscription_(subscription), value_(takeOver(value)), monitoredItemId_(monitoredItemId) {}

bool ItemNotification::cannotFail() const {
    return item_ != nullptr && item_->processor() == UAC_TestDataValueProcessor &&
           isScalar(value_->value) && isNumber(typeIndexOf(value_->value.type));
}

UACErr ItemNotification::convert() {
    const auto id = static_cast<int>(monitoredItemId_);
    if (subscription_ == nullptr) {
        return {UACERR_CLIENT, 10, "Subscription not set (%d)", id};
    }
    if (item_ == nullptr) {
        return {UACERR_CLIENT, 10, "Monitored item ID error (id=%d)", id};
    }
    if (item_->processor() == nullptr) {
        return {UACERR_CLIENT, 10, "Processor not set (%d)", id};
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

UACErr ItemNotification::process() noexcept {
    processed_ = true;
    item_ = subscription_ == nullptr ? nullptr : subscription_->itemById(monitoredItemId_);
    UACErr error;
    try {
        if (!cannotFail()) {
            error = convert();
        }
        if (item_ != nullptr) {
            item_->lastStatus = value_->status;
            item_->setError(error);
        }
    } catch (...) {
        // Memory ran out while the error was worded; without a text it is still one.
        error.kind = UACERR_UNKNOWN;
        error.code = 10;
    }
    failed_ = error.isError();
    return error;
}

}  // namespace nimb
