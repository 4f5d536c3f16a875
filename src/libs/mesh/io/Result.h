#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace mesh::io {

/// What went wrong, by number: programs look at the number, people at the message.
enum ErrorCode : int {
    MalformedData = 3,
    WriteFailure = 4,
    Cancelled = 5,
    ShortRead = 6,
    LimitExceeded = 9,
    NotFound = 10, ///< no such file, or no handler for it
};

/// A failure: a sentence for the user and one of ErrorCode.
struct Error
{
    QString message;
    int code = 0;

    bool operator==(const Error &) const = default;
};

/// Either a value or the error that there is none.
///
///     const auto mesh = registry.load(path);
///     if (!mesh)
///         return failed(mesh.error().message);
///     use(mesh.value());
template<typename T>
class [[nodiscard]] Result
{
public:
    Result(T value)
        : m_state(std::in_place_index<0>, std::move(value))
    {}
    Result(Error error)
        : m_state(std::in_place_index<1>, std::move(error))
    {}

    bool isOk() const { return m_state.index() == 0; }
    explicit operator bool() const { return isOk(); }
    const T &value() const & { return *std::get_if<0>(&m_state); } ///< only when isOk()
    T &value() & { return *std::get_if<0>(&m_state); }
    T &&value() && { return std::move(*std::get_if<0>(&m_state)); }
    const Error &error() const { return *std::get_if<1>(&m_state); } ///< only when not isOk()

private:
    std::variant<T, Error> m_state;
};

/// Success without a value, or an error: `return {};` is success.
template<>
class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Error error)
        : m_error(std::move(error))
        , m_failed(true)
    {}

    bool isOk() const { return !m_failed; }
    explicit operator bool() const { return isOk(); }
    const Error &error() const { return m_error; } ///< only when not isOk()

private:
    Error m_error;
    bool m_failed = false;
};

} // namespace mesh::io
