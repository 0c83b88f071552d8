// Lines out of a dictionary in text form.
//
// One entry a line, between two double quotes that no backslash escapes; what else stands on the line is a
// remark. Lines end in a line feed, a return, or both.
#ifndef ZLEXP_READER_H
#define ZLEXP_READER_H

#include <memory>

#include "zvkcore/string/UTFString.h"

namespace zlex_private {

class DictionaryReader {
  public:
    using UTF16String = zvkcore::string::UTF16String;
    using UTF16View = zvkcore::string::UTF16View;

    /// The reader for a block, by its first 16-bit unit; null for a block of less than two bytes. The block
    /// must outlive the reader.
    static std::unique_ptr<DictionaryReader> Make(const char* data, const char* end);

    virtual ~DictionaryReader();

    /// Takes the next line whole, without its end. False when there is none.
    bool NextLine(UTF16String& line);

    /// Takes the next line and gives its entry, empty for a line without one. False when there is no line.
    bool ReadALine(UTF16String& entry);

    /// What stands between the first two unescaped quotes of `line`; empty if there are not two. `rest`, if
    /// not null, receives what stands behind the second.
    static UTF16View Quoted(UTF16View line, UTF16View* rest);

    DictionaryReader(const char* data, const char* end) : m_at(data), m_end(end) {}

  protected:
    virtual size_t UnitSize() const = 0;  ///< bytes
    virtual unsigned short UnitAt(const char* at) const = 0;
    virtual UTF16String Decode(const char* at, const char* end) const = 0;

  private:
    const char* m_at;
    const char* m_end;
};

}  // namespace zlex_private

#endif
