#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "convert/type_index.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

constexpr std::size_t kLargestInt = std::numeric_limits<std::int32_t>::max();

/// Nesting depth of lists is bounded: a server may claim a million dimensions of length 1, each of
/// which costs a level of recursion and the header of a list around every element.
constexpr std::size_t kMaxDimensions = 32;

/// Lists are written with 32-bit numbers; larger ones show their low half.
int asInt32(std::size_t number) { return static_cast<int>(static_cast<std::uint32_t>(number)); }

[[nodiscard]] UACErr variantError(const char* text) {
    return {UACERR_APPLICATION, APPERR_VARIANT_CONVERSION, "%s", text};
}

/// Any failure of an array that has no error of its own.
[[nodiscard]] UACErr arrayError() { return variantError("UA2CL_Variant : Array"); }

/// Raises the error for a length that cannot be written.
void checkLength(const UA_Variant& variant) {
    if (variant.arrayLength == 0) {
        throw variantError("array is of zero-length");
    }
    if (variant.arrayLength > kLargestInt) {
        throw UACErr::client("variant : array len [%d]", asInt32(variant.arrayLength));
    }
}

/// Raises the error for dimensions that are too many or do not multiply to the array's length.
/// Afterwards each of them is known to fit 32 bits with a sign, as the length does.
void checkDimensions(const UA_Variant& variant) {
    const std::size_t count = variant.arrayDimensionsSize;
    if (count > kLargestInt) {
        throw UACErr::client("variant : qty array dim [%d]", asInt32(count));
    }
    if (count < 2) {
        return;
    }
    if (variant.arrayDimensions == nullptr) {
        throw arrayError();
    }
    std::size_t product = 1;
    bool overflow = false;
    for (std::size_t i = 0; i < count; ++i) {
        overflow |= __builtin_mul_overflow(product, variant.arrayDimensions[i], &product);
    }
    if (overflow || product != variant.arrayLength) {
        throw UACErr::client("variant : array elem qty / qty dim mismatch [%d,%d]",
                             asInt32(variant.arrayLength), asInt32(product));
    }
    if (count > kMaxDimensions) {
        throw arrayError();
    }
}

/// Bytes from one step to the next in each dimension, the last one's being an element's width.
std::unique_ptr<int[]> makeStrides(const int* dims, int dimCount, int width) {
    const auto count = static_cast<std::size_t>(dimCount);
    std::unique_ptr<int[]> strides(new (std::nothrow) int[count]);
    if (strides == nullptr) {
        throw UACErr::outOfMemory();
    }
    auto stride = static_cast<std::size_t>(width);
    for (std::size_t k = count; k-- > 0;) {
        if (stride > kLargestInt) {
            throw arrayError();
        }
        strides[k] = static_cast<int>(stride);
        stride *= static_cast<std::size_t>(dims[k]);
    }
    return strides;
}

}  // namespace

long UACExport::UA2CL_Variant(VeltoList* list, const UA_Variant* variant, bool flat) const {
    if (variantMode == VARIANT_FULL) {
        UA2CL_Variant_FullVeltoListOnly(list, variant);
        return UA_TYPES_VARIANT;
    }
    if (isScalar(*variant)) {
        return addToVeltoList(list, typeIndexOf(variant->type), variant->data, flat);
    }
    if (variant->type != nullptr && variantMode == VARIANT_NESTED) {
        orError([&] { addNestedArray(list, *variant, flat); }, arrayError);
        return UA_TYPES_VARIANT;
    }
    if (variant->type != nullptr && variantMode == VARIANT_SCALAR_OR_FULL) {
        UA2CL_Variant_FullVeltoListOnly(list, variant);
        return UA_TYPES_VARIANT;
    }
    *list += VeltoNull();
    return 0;
}

void UACExport::addNestedArray(VeltoList* list, const UA_Variant& variant, bool flat) const {
    checkLength(variant);
    const long typeIndex = typeIndexOf(variant.type);
    const void* data = hasData(variant) ? variant.data : nullptr;
    if (variant.arrayLength == 1) {
        // A lone element stands by itself: Compatibility C21.
        addToVeltoList(list, typeIndex, data, false);
        return;
    }
    checkDimensions(variant);
    if (data == nullptr) {
        throw arrayError();
    }
    const int length = static_cast<int>(variant.arrayLength);
    const bool oneDimension = variant.arrayDimensionsSize < 2;
    const int dimCount = oneDimension ? 1 : static_cast<int>(variant.arrayDimensionsSize);
    const int* dims =
        oneDimension ? &length : reinterpret_cast<const int*>(variant.arrayDimensions);
    const auto strides = makeStrides(dims, dimCount, getTypeWidth(typeIndex));
    UA2CL_Variant_Aux1(list, typeIndex, data, dimCount, 0, dims, strides.get());
    if (flat) {
        *list += dimCount;
    }
}

void UACExport::UA2CL_Variant_Aux1(VeltoList* list, long typeIndex, const void* data, int dimCount,
                                   int depth, const int* dims, const int* strides) const {
    if (depth >= dimCount) {
        addToVeltoList(list, typeIndex, data, false);
        return;
    }
    const auto* at = static_cast<const unsigned char*>(data);
    NestedList nested(*list);
    for (int i = 0; i < dims[depth]; ++i, at += strides[depth]) {
        UA2CL_Variant_Aux1(list, typeIndex, at, dimCount, depth + 1, dims, strides);
    }
    nested.close();
}

void UACExport::UA2CL_Variant_FullVeltoListOnly(VeltoList* list, const UA_Variant* variant) const {
    if (variant->arrayLength != 0) {
        throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "In conversion of array variant");
    }
    if (!hasData(*variant)) {
        throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE,
                     "In conversion of empty variant (%c)", variant->data == nullptr ? 'a' : 'b');
    }
    if (variant->type == nullptr) {
        throw variantError("UA2CL_Variant");
    }
    orError([&] { addFullForm(list, *variant); }, [] { return variantError("UA2CL_Variant"); });
}

void UACExport::addFullForm(VeltoList* list, const UA_Variant& scalar) const {
    constexpr int scalarIndicator = 0;
    const long typeIndex = typeIndexOf(scalar.type);
    NestedList nested(*list);
    *list += static_cast<int>(scalar.type->typeKind);
    *list += static_cast<int>(typeIndex);
    *list += static_cast<int>(scalar.storageType);
    *list += static_cast<unsigned long>(scalar.arrayLength);
    *list += static_cast<unsigned long>(scalar.arrayDimensionsSize);
    *list += scalarIndicator;
    NestedList dimensions(*list);
    for (std::size_t i = 0; i < scalar.arrayDimensionsSize; ++i) {
        *list += static_cast<long long>(scalar.arrayDimensions[i]);
    }
    dimensions.close();
    addToVeltoList(list, typeIndex, scalar.data, false);
    nested.close();
}

}  // namespace nimb
