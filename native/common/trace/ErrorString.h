/// Texts of system errors.
#pragma once

/// The C library's text for an error number (errno), such as "No such file or directory".
/// @param buffer  receives it, the rest is filled with zeros
/// @return `buffer`. Any thread.
const char* getErrorString(int error, char (&buffer)[1024]) noexcept;

/// The same as a temporary, for the arguments of a trace: `CErrorString(errno).text()`.
class CErrorString {
public:
    explicit CErrorString(int error) noexcept { getErrorString(error, m_buffer); }
    const char* text() const noexcept { return m_buffer; }

private:
    char m_buffer[1024];
};
