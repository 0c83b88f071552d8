/// Numbers and pieces of text read from UTF-8 text, and written to it.
///
///     iUTF8StringStream in{text};
///     int frame;
///     in >> frame;                            // blanks in front are skipped
///     if (!in || in.get() != ',') ...
///
/// The words are those of a standard stream, without its locale: numbers are plain decimal whatever the
/// process has set, and a minus sign never turns into a large unsigned number. Reading takes a time in
/// proportion to the text and copies nothing but what it gives. One thread at a time uses an object.
#ifndef ZVKCORE_STRING_STRINGSTREAM_H
#define ZVKCORE_STRING_STRINGSTREAM_H

#include <algorithm>
#include <charconv>
#include <concepts>
#include <string_view>
#include <utility>

#include "zvkcore/string/UTFString.h"

namespace zvkcore {

/// Reads. Once something failed everything behind it fails too and gives zeros and empty pieces.
class iUTF8StringStream {
  public:
    /// `get` at the end of the text.
    static constexpr int kEnd = -1;

    /// The text is not copied: it outlives the stream.
    explicit iUTF8StringStream(string::UTF8View text) noexcept : m_rest(string::View(text)) {}

    /// The next number, with a sign or not. Fails, and gives 0, where there is none or it does not fit the
    /// type.
    template <std::integral Number>
    iUTF8StringStream& operator>>(Number& value) noexcept
    {
        value = 0;
        if (m_failed) return *this;
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t\n\v\f\r"), m_rest.size()));
        const bool plus = m_rest.size() > 1 && m_rest[0] == '+' && m_rest[1] != '-';
        const char* const end = m_rest.data() + m_rest.size();
        const auto read = std::from_chars(m_rest.data() + plus, end, value);
        m_failed = read.ec != std::errc{};
        if (m_failed) {
            m_ended = m_rest.find_first_not_of("+-") == m_rest.npos;
        } else {
            m_rest.remove_prefix(static_cast<std::size_t>(read.ptr - m_rest.data()));
        }
        return *this;
    }

    /// The next byte, or `kEnd`, at which the stream fails.
    int get() noexcept
    {
        if (m_failed || m_rest.empty()) {
            m_ended = m_ended || !m_failed;
            m_failed = true;
            return kEnd;
        }
        const auto byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }

    /// The piece up to the next `delimiter`, which is taken too, or up to the end of the text: then `eof` is
    /// true. It views the text of the stream. Fails if nothing was left.
    string::UTF8View GetPiece(char delimiter) noexcept
    {
        if (m_failed || m_rest.empty()) {
            get();
            return {};
        }
        const std::size_t size = std::min(m_rest.find(delimiter), m_rest.size());
        const std::string_view piece = m_rest.substr(0, size);
        m_ended = size == m_rest.size();
        m_rest.remove_prefix(m_ended ? size : size + 1);
        return string::Units(piece);
    }

    /// As `GetPiece`, into a string.
    iUTF8StringStream& getline(string::UTF8String& line, char delimiter)
    {
        line = GetPiece(delimiter);
        return *this;
    }

    /// Whether something was looked for behind the end of the text.
    bool eof() const noexcept { return m_ended; }
    bool fail() const noexcept { return m_failed; }
    explicit operator bool() const noexcept { return !m_failed; }

  private:
    std::string_view m_rest;
    bool m_failed = false;
    bool m_ended = false;
};

/// Writes.
class oUTF8StringStream {
  public:
    /// Makes room, so that a text of known size is written without moving.
    explicit oUTF8StringStream(std::size_t expected = 0) { m_text.reserve(expected); }

    template <std::integral Number>
    oUTF8StringStream& operator<<(Number value)
    {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        m_text.append(string::Units({digits, static_cast<std::size_t>(end - digits)}));
        return *this;
    }
    oUTF8StringStream& operator<<(string::UTF8View text)
    {
        m_text.append(text);
        return *this;
    }
    oUTF8StringStream& operator<<(char unit)
    {
        m_text.push_back(static_cast<unsigned char>(unit));
        return *this;
    }

    /// The text so far.
    const string::UTF8String& str() const noexcept { return m_text; }
    /// Gives the text away and leaves the stream empty.
    string::UTF8String Take() noexcept { return std::move(m_text); }

  private:
    string::UTF8String m_text;
};

}  // namespace zvkcore

#endif
