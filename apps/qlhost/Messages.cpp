#include "Messages.h"

#include <U_Err.h>
#include <U_ZString.h>

#include <cstdio>

#include "zvkcore/string/Convert.h"

namespace qlhost {
namespace {

// Where this host's reports say they come from.
constexpr std::uint32_t kUnreadableFrame = 0x00010002;
constexpr std::uint32_t kEndedRender = 0x00010003;
constexpr std::uint32_t kMatteProblem = 0x00010007;

U_UTF16String UTF16(const std::string& utf8)
{
    return zvkcore::string::UTF8to16(std::string_view{utf8});
}

}  // namespace

std::string Text(const char* key, std::initializer_list<std::string> arguments)
{
    const U_UTF8String translated = zvkcore::string::UTF16to8(U_ZStringToUTF16String(key));
    std::string utf8{zvkcore::string::View(translated)};
    std::size_t number = 0;
    for (const std::string& argument : arguments) {
        const std::string place = "@" + std::to_string(number++);
        for (std::size_t at = utf8.find(place); at != std::string::npos;
             at = utf8.find(place, at + argument.size())) {
            utf8.replace(at, place.size(), argument);
        }
    }
    return utf8;
}

std::string MebiBytes(std::uint64_t bytes)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f MiB", static_cast<double>(bytes) / 1048576.0);
    return text;
}

std::string ProgressText(std::size_t done, std::size_t all, std::uint64_t inUse)
{
    return Text("$$$/QLHost/Progress=@0 of @1 frames, @2 in use",
                {std::to_string(done), std::to_string(all), MebiBytes(inUse)});
}

void ReportUnreadableFrame(const std::filesystem::path& file, const std::string& why, bool gathered)
{
    const std::string message = Text("$$$/QLHost/Unreadable/One=@0: @1", {file.filename().string(), why});
    if (gathered) {
        U_ReportError(kUnreadableFrame, U_Sev_WARNING, UTF16(message));
        return;
    }
    const U_UTF16String identifier = U_FormUniqueGroupErrorMessageIdentifier(
        U_ZStringToUTF16String("$$$/QLHost/Unreadable/Plural=Some frames cannot be read and were left out."),
        U_ZStringToUTF16String("$$$/QLHost/Unreadable/Count=@0 frames:"),
        U_ZStringToUTF16String("$$$/QLHost/Unreadable/Singular=A frame cannot be read and was left out."));
    U_ReportError(kUnreadableFrame, U_Sev_WARNING, U_GroupErrorMessage(UTF16(message), identifier));
}

void ReportEndedRender(int err)
{
    U_ReportError(
        kEndedRender, U_Sev_PROBLEM,
        UTF16(Text("$$$/QLHost/EndedRender=A render thread ended early (error @0).", {std::to_string(err)})));
}

void ReportMatteProblem(int frame, const std::string& why)
{
    const std::string message =
        frame < 0 ? why : Text("$$$/QLHost/Matte/Problem/One=frame @0: @1", {std::to_string(frame), why});
    const U_UTF16String identifier = U_FormUniqueGroupErrorMessageIdentifier(
        U_ZStringToUTF16String("$$$/QLHost/Matte/Problem/Plural=Some things went wrong with the mattes."),
        U_ZStringToUTF16String("$$$/QLHost/Matte/Problem/Count=@0 things:"),
        U_ZStringToUTF16String("$$$/QLHost/Matte/Problem/Singular=Something went wrong with the mattes."));
    U_ReportError(kMatteProblem, U_Sev_WARNING, U_GroupErrorMessage(UTF16(message), identifier));
}

GatherScope::GatherScope(const std::string& title)
{
    if (title.empty()) return;
    const U_UTF16String text = UTF16(title);
    m_aggregation.emplace(text, text);
}

}  // namespace qlhost
