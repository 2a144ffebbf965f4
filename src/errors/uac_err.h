#pragma once

#include <string>

namespace nimb {

class VeltoROList;

/// The family an error belongs to. Hosts know the numbers.
enum UACERR_TYPE : int {
    UACERR_NONE = 0,
    UACERR_INCOMPLETE = 1,
    UACERR_APPLICATION = 2,
    UACERR_CALLIN = 3,
    UACERR_OPCUA = 4,
    UACERR_CLIENT = 5,
    UACERR_SERVER = 6,
    UACERR_UNKNOWN = 7,
};

/// Codes of kind UACERR_APPLICATION. 8 has no name of its own: it is what file errors carry.
enum ApplicationError : long {
    APPERR_BAD_HANDLE = 1,
    APPERR_NOT_CONNECTED = 2,
    APPERR_UNSUPPORTED_SSL = 3,
    APPERR_BAD_NODE_ID = 4,
    APPERR_VARIANT_CONVERSION = 5,
    APPERR_UNSUPPORTED_TYPE = 6,
    APPERR_UNINITIALIZED = 7,
    APPERR_FILE_IO = 8,
    APPERR_OTHER = 9,
    APPERR_MALFORMED = 10,
};

/// The result of every operation that can fail: returned by value, or raised and caught by the
/// call frame. Code 0 means success whatever the kind.
class [[nodiscard]] UACErr {
  public:
    /// Longest text the formatting constructor keeps, in bytes; hosts expect the cut.
    static constexpr std::size_t kMaxText = 99;

    /// Success.
    UACErr() = default;
    UACErr(UACERR_TYPE errorKind, long errorCode) : kind(errorKind), code(errorCode) {}
    /// Formats the text as printf does and cuts it at kMaxText bytes.
    [[gnu::format(printf, 4, 5)]] UACErr(UACERR_TYPE errorKind, long errorCode, const char* format,
                                         ...);
    /// Kind 7, code 10: records a list that could not be used, as the hexadecimal digits of its
    /// first 100 bytes. The text is not cut at kMaxText.
    explicit UACErr(const VeltoROList* list);

    /// An OPC UA status code as an error; the code keeps its unsigned value.
    [[nodiscard]] static UACErr opcua(unsigned int statusCode) {
        return {UACERR_OPCUA, static_cast<long>(statusCode)};
    }

    [[nodiscard]] bool isError() const { return kind != UACERR_NONE; }

    UACERR_TYPE kind = UACERR_NONE;
    long code = 0;
    std::string text;
};

/// The error every session operation answers while the session must be set up again.
[[nodiscard]] UACErr clientResetRequired();

}  // namespace nimb
