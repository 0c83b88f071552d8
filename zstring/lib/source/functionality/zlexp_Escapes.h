// The escape language of default texts and of dictionaries in text form.
//
// Two passes: backslash and caret escapes, then entities. A stored dictionary holds its texts in final form
// and never comes here.
#ifndef ZLEXP_ESCAPES_H
#define ZLEXP_ESCAPES_H

#include <span>

#include "zvkcore/string/UTFString.h"

namespace zlex_private {

using zvkcore::string::UTF16String;
using zvkcore::string::UTF16View;

/// What an escape character and the unit behind it stand for.
struct Escape {
    unsigned short name;
    unsigned short unit;
};
using EscapeTable = std::span<const Escape>;

extern const EscapeTable kESGHatEscapeTable;  // the escapes of the caret
extern const EscapeTable kPSHatEscapeTable;   // the same and ^e

class DictionaryEntry {
  public:
    /// Both passes, with the caret table that `zlex::EnablePSHatEscapes` chose at the first escape of the
    /// process.
    static UTF16String ConvertEscapeSequences(const unsigned short* text, unsigned long length);

    /// The first pass with a given caret table.
    static UTF16String ConvertHatAndBackslash(UTF16View text, EscapeTable hatTable);

    /// The second pass.
    static UTF16String ConvertEscapeSequencesISO(const unsigned short* text, unsigned long length);
};

}  // namespace zlex_private

#endif
