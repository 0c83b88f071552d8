/// The template engine under the forms of U_SubString.h.
#ifndef UP_SUBSTRING_H
#define UP_SUBSTRING_H

#include <cstddef>
#include <cstdint>

#include "U_SubString.h"

/// Where a template's arguments come from. Each call takes the next argument, as the kind that the template
/// says; none is called once `AtEnd` is true.
class Up_SubStringArguments {
  public:
    virtual bool AtEnd() const = 0;
    virtual const void* NextText() = 0;  ///< terminated, of bytes or units as the form says; null is empty
    virtual int32_t NextInt32() = 0;
    virtual int64_t NextInt64() = 0;
    virtual double NextReal() = 0;

  protected:
    ~Up_SubStringArguments() = default;
};

/// Fills `format` into `out`, which may be `format` itself.
///
/// multibyteStrings  the texts among the arguments are multibyte ones
/// returns           0: a bad template is reported, never returned
/// throws            what the conversion of a multibyte text throws
Err Up_SubString(U_UTF16String& out, const U_UTF16String& format, Up_SubStringArguments& arguments,
                 bool multibyteStrings);

/// Whether `tag` occurs in the template and in the present text. `position` receives its first place in
/// `current`, or -1 with the answer false.
bool Up_InBothStrings(zvkcore::string::UTF16View tag, const U_UTF16String& format,
                      const U_UTF16String& current, size_t* position);

/// Formats a number as the specification at `place` in `text` asks, and erases the specification. Complaints
/// are reported.
U_UTF16String Up_FormatSubStringFloat(double value, U_UTF16String& text, size_t place);

#endif
