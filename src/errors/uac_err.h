#pragma once

#include <cstdarg>
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
    /// Longest text the formatting constructor keeps, in bytes: Compatibility C8.
    static constexpr std::size_t kMaxText = 99;
    /// Code of errors that say what they are by their kind and text alone.
    static constexpr long kGeneralCode = 10;

    /// Success.
    UACErr() = default;
    UACErr(UACERR_TYPE errorKind, long errorCode) : kind(errorKind), code(errorCode) {}
    /// Formats the text as printf does and cuts it at kMaxText bytes.
    [[gnu::format(printf, 4, 5)]] UACErr(UACERR_TYPE errorKind, long errorCode, const char* format,
                                         ...);
    /// Kind 7, code 10: records a list that could not be used, as the hexadecimal digits of its
    /// first 100 bytes. The text is not cut at kMaxText.
    explicit UACErr(const VeltoROList* list);

    /// @name Errors by their family; texts are formatted and cut as above
    /// @{

    /// An OPC UA status code; the code keeps its unsigned value.
    [[nodiscard]] static UACErr opcua(unsigned int statusCode) {
        return {UACERR_OPCUA, static_cast<long>(statusCode)};
    }
    [[gnu::format(printf, 2, 3)]] static UACErr opcua(unsigned int statusCode, const char* format,
                                                      ...);
    /// Kind 5, code 10: the client and the server's answer do not go together.
    [[gnu::format(printf, 1, 2)]] static UACErr client(const char* format, ...);
    /// Kind 7, code 10: the cause is not known.
    [[gnu::format(printf, 1, 2)]] static UACErr unknown(const char* format, ...);
    /// Kind 5, code 9.
    [[nodiscard]] static UACErr outOfMemory(const char* what = "") {
        return {UACERR_CLIENT, APPERR_OTHER, "Memory allocation error%s", what};
    }
    /// @}

    [[nodiscard]] bool isError() const { return kind != UACERR_NONE; }

    UACERR_TYPE kind = UACERR_NONE;
    long code = 0;
    std::string text;

  private:
    static UACErr formatted(UACERR_TYPE kind, long code, const char* format,
                            std::va_list arguments);
};

/// What an operation returns or raises, as one error.
/// @param otherwise  makes the error for whatever it raises that is not a UACErr
template <typename Operation, typename Otherwise>
UACErr errorOf(Operation&& operation, Otherwise&& otherwise) {
    try {
        return operation();
    } catch (const UACErr& raised) {
        return raised;
    } catch (...) {
        return otherwise();
    }
}

/// What a step returns. Whatever it raises leaves as a UACErr.
/// @param otherwise  makes the error for what is not one
template <typename Step, typename Otherwise>
decltype(auto) orError(Step&& step, Otherwise&& otherwise) {
    try {
        return step();
    } catch (const UACErr&) {
        throw;
    } catch (...) {
        throw otherwise();
    }
}

/// The error every session operation answers while the session must be set up again.
[[nodiscard]] UACErr clientResetRequired();

/// Bytes as a person reads them in a message: a blank and two upper-case hexadecimal digits each.
[[nodiscard]] std::string UAC_GetHexDebugString(const unsigned char* bytes, std::size_t count);

}  // namespace nimb
