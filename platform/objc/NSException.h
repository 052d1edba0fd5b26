#pragma once

#include <exception>
#include <string>

namespace lumora {

inline constexpr const char* NSUndefinedKeyException = "NSUndefinedKeyException";
inline constexpr const char* NSInvalidArgumentException = "NSInvalidArgumentException";
inline constexpr const char* NSGenericException = "NSGenericException";
inline constexpr const char* NSInternalInconsistencyException = "NSInternalInconsistencyException";
inline constexpr const char* NSRangeException = "NSRangeException";

/// A platform exception: an unknown key, a message nobody answers, an argument that cannot be. Readers of
/// foreign objects catch it; other C++ exceptions are not platform exceptions and pass them.
class NSException : public std::exception {
public:
    NSException(std::string name, std::string reason)
        : m_name(std::move(name))
        , m_reason(std::move(reason))
        , m_text(m_name + ": " + m_reason)
    {
    }

    const std::string& name() const { return m_name; }
    const std::string& reason() const { return m_reason; }
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_name;
    std::string m_reason;
    std::string m_text;
};

} // namespace lumora
