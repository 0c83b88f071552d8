// A dictionary as its makers see it: a name and entries in order, out of either form.
#ifndef ZDICT_ENTRIES_H
#define ZDICT_ENTRIES_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zvkcore/string/UTFString.h"

namespace zdict {

using zvkcore::string::UTF16String;
using zvkcore::string::UTF16View;

struct Entry {
    std::string key;  // bytes, without the three dollar signs
    UTF16String text;
    UTF16String accelerator;  // empty for none
};

struct Content {
    std::string name;  // UTF-8
    std::vector<Entry> entries;
    std::vector<std::string> warnings;
};

/// What is wrong with a dictionary, as one line for its maker.
struct BadDictionary : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads either form; the bytes tell which. A key that comes twice has its last text, in its first place, and
/// a warning.
///
/// throws  `BadDictionary`, with the line for the text form
Content ReadContent(std::string_view bytes);

/// The text form, in UTF-8: what `ReadContent` makes of it is the same content, but for the name.
///
/// throws  `BadDictionary` for a key that the text form cannot hold
std::string WriteText(const Content& content);

/// The stored form, in the machine's byte order or the other one.
///
/// throws  `BadDictionary` for a key or text that the stored form cannot hold
std::string WriteStored(const Content& content, bool swapped);

}  // namespace zdict

#endif
