// The public face of the engine: handles over the private classes.
//
// Process-wide state: `EnablePSHatEscapes`, an atomic that outlives everybody.
#include "zlex.h"

#include <algorithm>

#include "zlexp_Dictionary.h"
#include "zvkcore/string/Truncate.h"

namespace zlex {

std::atomic<bool> EnablePSHatEscapes{false};

CVErrException::~CVErrException() = default;

const char* CVErrException::what() const noexcept
{
    return "the buffer is too small for the text";
}

void ZString::GetUnicode(unsigned short* buffer, unsigned long size, bool checked) const
{
    if (size < GetUnicodeSize()) {
        if (checked) throw CVErrException(CVErrException::kBufferTooSmall);
        if (size == 0) return;
        zvkcore::string::UTF16String cut = m_text;
        zvkcore::string::TruncateStringToNumChars(cut, size - 1, false);
        std::copy_n(cut.c_str(), cut.size() + 1, buffer);
        return;
    }
    std::copy_n(m_text.c_str(), GetUnicodeSize(), buffer);
}

Dictionary::Dictionary() : m_dictionary(std::make_unique<zlex_private::Dictionary>()) {}

Dictionary::~Dictionary()
{
    if (zlex_private::sMainDictionary == m_dictionary.get()) zlex_private::sMainDictionary = nullptr;
}

bool Dictionary::Read(const char* data, int size, bool third)
{
    return m_dictionary->Read(data, size, third);
}

ZString Dictionary::Lookup(const char* key, const EncodingInfo* encoding) const
{
    return ZString(m_dictionary->Lookup(key, encoding));
}

void Dictionary::MakeMain() noexcept
{
    zlex_private::sMainDictionary = m_dictionary.get();
}

bool Dictionary::IsLoaded() const noexcept
{
    return m_dictionary->IsLoaded();
}

}  // namespace zlex
