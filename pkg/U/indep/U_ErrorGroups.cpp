// The grammar of grouped messages, and the folding of posted errors into few dialogs.
//
// Folding walks the list once, moves what belongs to a group or to a title into ordered maps, and appends one
// entry for each of them. Its look-ups of localised words happen once a folding, not once an error. There is
// no state here.
#include <functional>
#include <map>
#include <string>

#include "U_ZString.h"
#include "Up_Posted.h"
#include "zvkcore/string/UTFString.h"

namespace {

using namespace zvkcore::string::literals;
using Entries = std::vector<Up_PostErrorData>;
// The order of strings by unit; look-ups by a view need no copy.
using EntriesByText = std::map<U_UTF16String, Entries, std::less<>>;

constexpr const char* kTag = "$$$/private/QL/U/GroupTag=Grouped_Message_";
constexpr const char* kScoper = "$$$/private/QL/U/GroupTagScoper={@0}";
constexpr const char* kLeadSeparator = "$$$/private/QL/U/GroupTagSeparator=|||";
constexpr const char* kTypeSeparator = "$$$/private/QL/U/TypeOfErrorSeparator=###";
constexpr const char* kDefaultType = "$$$/QL/U/DisplayPostedErrors/Errors=Errors:";
constexpr const char* kTwoNewlines = "$$$/QL/U/DisplayPostedErrors/TwoNewlines=#{endl}#{endl}";
constexpr const char* kIssueNumber = "$$$/QL/U/DisplayPostedErrors/IssueNumber=@0)   ";

// Only this place is filled: a text that holds "@1" keeps it, which a template of more places would not.
U_UTF16String FillPlace(const U_UTF16String& text, const U_UTF16String& with)
{
    const U_UTF16String place = u"@0"_u16;
    U_UTF16String result;
    size_t from = 0;
    for (size_t at; (at = text.find(place, from)) != U_UTF16String::npos; from = at + place.size()) {
        result.append(text, from, at - from).append(with);
    }
    return result.append(text, from);
}

U_UTF16String Decimal(size_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

// Cuts `text` at the first `separator`: the text keeps what stands before, `behind` receives the rest.
bool SplitAt(U_UTF16String& text, const U_UTF16String& separator, U_UTF16String& behind)
{
    const size_t at = text.find(separator);
    if (at == U_UTF16String::npos) return false;
    behind = text.substr(at + separator.size());
    text.erase(at);
    return true;
}

// Where the parts of a grouped message stand; `position` is that of its tag.
struct Grouped {
    size_t identifier;
    size_t identifier_size;
    size_t message;
};

Grouped TakeApart(const U_UTF16String& text, size_t position)
{
    const size_t open = text.find('{', position);
    const size_t close = text.find('}', position);
    if (close == U_UTF16String::npos) return {0, 0, 0};
    return open < close ? Grouped{open + 1, close - open - 1, close + 1} : Grouped{0, 0, close + 1};
}

}  // namespace

// --- Grammar ------------------------------------------------------------------------------------------

U_UTF16String U_FormUniqueGroupErrorMessageIdentifier(const U_UTF16String& plural_text,
                                                      const U_UTF16String& type_of_error,
                                                      const U_UTF16String& singular_text)
{
    return plural_text + U_ZStringToUTF16String(kLeadSeparator) + singular_text +
           U_ZStringToUTF16String(kTypeSeparator) + type_of_error;
}

void U_ExtractSingularPluralFromUniqueGroupIdentifier(const U_UTF16String& group_identifier,
                                                      U_UTF16String& plural_text,
                                                      U_UTF16String& type_of_error,
                                                      U_UTF16String& singular_text)
{
    U_UTF16String plural = group_identifier;  // an output may be the identifier itself
    U_UTF16String type, singular;
    if (!SplitAt(plural, U_ZStringToUTF16String(kTypeSeparator), type)) {
        type = U_ZStringToUTF16String(kDefaultType);
    }
    if (!SplitAt(plural, U_ZStringToUTF16String(kLeadSeparator), singular)) singular = plural;
    plural_text = std::move(plural);
    type_of_error = std::move(type);
    singular_text = std::move(singular);
}

U_UTF16String U_GroupErrorMessage(const U_UTF16String& message, const U_UTF16String& group_identifier)
{
    return U_ZStringToUTF16String(kTag) + FillPlace(U_ZStringToUTF16String(kScoper), group_identifier) +
           message;
}

bool U_IsGroupedErrorMessage(const U_UTF16String& text, size_t* position)
{
    const size_t at = text.find(U_ZStringToUTF16String(kTag));
    if (position) *position = at;
    return at != U_UTF16String::npos;
}

U_UTF16String U_StripGroupedErrorMessage(const U_UTF16String& text, U_UTF16String* group_identifier)
{
    size_t position = 0;
    const bool is_grouped = U_IsGroupedErrorMessage(text, &position);
    const Grouped at = is_grouped ? TakeApart(text, position) : Grouped{0, 0, 0};
    U_UTF16String message = text.substr(at.message);  // made first: the identifier may go into `text` itself
    if (group_identifier) *group_identifier = text.substr(at.identifier, at.identifier_size);
    return message;
}

// --- Folding ------------------------------------------------------------------------------------------

namespace {

// A dialog's text while it grows: a lead, then numbered issues.
class IssueList {
  public:
    explicit IssueList(U_UTF16String lead)
        : m_text(std::move(lead)),
          m_newlines(U_ZStringToUTF16String(kTwoNewlines)),
          m_template(U_ZStringToUTF16String(kIssueNumber))
    {
    }

    void Add(const U_UTF16String& message)
    {
        m_text.append(m_newlines).append(FillPlace(m_template, Decimal(m_number++))).append(message);
    }

    Up_PostErrorData Finish(U_Severity severity) &&
    {
        return {std::move(m_text), severity, {}, {}, true, true};
    }

  private:
    U_UTF16String m_text;
    U_UTF16String m_newlines;
    U_UTF16String m_template;
    size_t m_number = 1;
};

Entries& Of(EntriesByText& map, zvkcore::string::UTF16View text)
{
    auto found = map.find(text);
    if (found == map.end()) found = map.emplace(U_UTF16String(text), Entries{}).first;
    return found->second;
}

// Moves grouped and titled errors out of the list, which keeps the others in their order.
void SortOut(Entries& list, EntriesByText& groups, EntriesByText& titles)
{
    const U_UTF16String tag = U_ZStringToUTF16String(kTag);
    auto kept = list.begin();
    for (Up_PostErrorData& entry : list) {
        U_UTF16String& message = entry.message;
        const size_t position = message.find(tag);
        if (position != U_UTF16String::npos) {
            const Grouped at = TakeApart(message, position);
            Entries& group = Of(groups, {message.data() + at.identifier, at.identifier_size});
            message.erase(0, at.message);
            group.push_back(std::move(entry));
        } else if (!entry.aggregation_title.empty()) {
            Of(titles, entry.aggregation_title).push_back(std::move(entry));
        } else {
            if (&*kept != &entry) *kept = std::move(entry);
            ++kept;
        }
    }
    list.erase(kept, list.end());
}

Up_PostErrorData FoldSeveral(const Entries& entries, const U_UTF16String& plural_text,
                             const U_UTF16String& type_of_error)
{
    // The count is of all errors, those left out below included: wanted, it tells how often it went wrong.
    IssueList issues(plural_text + U_ZStringToUTF16String(kTwoNewlines) +
                     FillPlace(type_of_error, Decimal(entries.size())));
    const U_UTF16String none;
    const U_UTF16String* last_message = &none;
    U_Severity last_severity = 65535;
    U_Severity folded = U_Sev_NONE;
    for (const Up_PostErrorData& entry : entries) {
        // Only neighbours are compared: an error that returns after another one is listed again.
        if (entry.message == *last_message && entry.severity == last_severity) continue;
        last_message = &entry.message;
        last_severity = entry.severity;
        issues.Add(entry.message);
        // Continuations, debug texts and leaks never lend their severity to a dialog.
        if (entry.severity <= U_Sev_FATAL && entry.severity > folded) folded = entry.severity;
    }
    return std::move(issues).Finish(folded);
}

Up_PostErrorData FoldGroup(const U_UTF16String& identifier, Entries& entries)
{
    U_UTF16String plural_text, type_of_error, singular_text;
    U_ExtractSingularPluralFromUniqueGroupIdentifier(identifier, plural_text, type_of_error, singular_text);
    if (entries.size() == 1) {
        Up_PostErrorData only = std::move(entries.front());
        only.message = singular_text + U_ZStringToUTF16String(kTwoNewlines) + only.message;
        only.is_group_dialog = true;
        return only;
    }
    if (type_of_error.find(u"@0"_u16) == U_UTF16String::npos) type_of_error.insert(0, u"@0 "_u16);
    return FoldSeveral(entries, plural_text, type_of_error);
}

Up_PostErrorData FoldTitle(const U_UTF16String& title, Entries& entries)
{
    if (entries.size() == 1) return std::move(entries.front());
    IssueList issues(title);
    // The first message is compared with the empty one, so empty messages in front are not listed: wanted.
    const U_UTF16String none;
    const U_UTF16String* last_message = &none;
    for (const Up_PostErrorData& entry : entries) {
        if (entry.message == *last_message) continue;
        last_message = &entry.message;
        issues.Add(entry.message);
    }
    return std::move(issues).Finish(entries.front().severity);
}

}  // namespace

void Up_SeparateOutErrorGroups(std::vector<Up_PostErrorData>& list)
{
    EntriesByText groups, titles;
    SortOut(list, groups, titles);
    for (auto& [identifier, entries] : groups) list.push_back(FoldGroup(identifier, entries));
    for (auto& [title, entries] : titles) list.push_back(FoldTitle(title, entries));
}
