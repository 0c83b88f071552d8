#include "U_Telemetry.h"

#include "TelemetryRecorder.h"
#include "zvkcore/config/UsageLogger.h"

namespace {

using namespace U::telemetry;
using errorstest::Bytes;
using errorstest::Provider;
using qltest::Text;
using qltest::Text16;
using Texts = std::vector<std::string>;
using zvkcore::utility::Guid;

TEST(Telemetry, StripsWhatStandsBetweenQuotes)
{
    const struct {
        const char *text, *stripped;
    } kRows[] = {
        {"", ""},
        {"nothing quoted", "nothing quoted"},
        {"from \"a\" to \"b\" failed", "from \"\" failed"},
        {"don't", "don''t"},  // a lone mark is both marks, and comes out doubled
        {"a \" b", "a \"\" b"},
        {"“a” and ‘b’", "“” and ‘’"},
        {"”x“", "”x“”x“"},     // the wrong way round
        {"\"it's\"", "\"\""},  // one kind after the other, on what the former left
        {"'a \"b' c\"", "''a \"\""},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Text(StripQuotedContents(Text16(row.text))), row.stripped) << row.text;
    }
    const auto enclosed = EncloseInQuotesForTelemetryRemoval(Text16("it's \"mine\""));
    EXPECT_EQ(Text(StripQuotedContents(enclosed)), "\"\"");
}

const U_UTF8String kValue{zvkcore::string::Units(std::string_view{"v"})};

TEST(Telemetry, EverythingGoesToTheProvider)
{
    EXPECT_FALSE(IsLogging());
    LogEvent("a", "b", nullptr, {});  // nobody listens
    const auto detail = Text16("d");
    const Guid id = Guid::CreateRandom();
    Provider provider;
    EXPECT_TRUE(IsLogging());
    LogEvent("c", "n", detail.c_str(), id);
    LogEventWithCount("c", "n", detail.c_str(), id);
    IncrementEventCount("c", "n", detail.c_str(), id);
    ClearEventCount("c", "n", nullptr, {});
    LogEventsWithCount();
    AddToGroup(NewDataGroup("o", "c", "s", id, true), "k", kValue, false);
    EXPECT_EQ(provider.calls, (Texts{"event c n d id", "counted c n d id", "increment c n d id", "clear c n",
                                     "all", "group use o c id s", "k=v"}));
}

struct Group final : zvkcore::config::UsageLoggerGroup {
    explicit Group(std::string id) : fields(std::move(id)) {}
    void Add(const char* key, const U_UTF8String& value) override { fields += key + Bytes(value); }
    std::string fields;
};

struct Logger final : zvkcore::config::UsageLogger {
    using Name = const char*;
    DataGroup NewGroup(Name, Name, Name) override { return std::make_shared<Group>(""); }
    DataGroup NewGroup(Name, Name, Name, const U_UTF8String& id) override
    {
        return std::make_shared<Group>(Bytes(id));
    }
};

TEST(Telemetry, WithoutProviderGroupsGoToTheUsageLoggerOnRequest)
{
    EXPECT_EQ(NewDataGroup("o", "c", "s", {}, true), nullptr);  // no logger either
    const auto former = zvkcore::config::UsageLogger::Set(std::make_shared<Logger>());
    EXPECT_EQ(NewDataGroup("o", "c", "s", {}, false), nullptr);
    const Guid id = Guid::CreateRandom();
    for (const Guid& each : {Guid{}, id}) {
        const auto group = NewDataGroup("o", "c", "s", each, true);
        ASSERT_TRUE(group);
        AddToGroup(group, "k", kValue, true);
        AddToGroup(group, "unwanted", kValue, false);
        AddToGroup({}, "k", kValue, true);
        EXPECT_EQ(static_cast<Group&>(*group).fields, (each == id ? Bytes(id.AsUTF8String()) : "") + "kv");
    }
    zvkcore::config::UsageLogger::Set(former);
}

}  // namespace
