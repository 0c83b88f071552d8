#include "U_Telemetry.h"

#include "TelemetryRecorder.h"
#include "zvkcore/config/UsageLogger.h"

namespace {

using errorstest::Bytes;
using errorstest::Provider;
using qltest::Text;
using qltest::Text16;
using Texts = std::vector<std::string>;
namespace telemetry = U::telemetry;
using zvkcore::utility::Guid;

TEST(Telemetry, StripsWhatStandsBetweenQuotes)
{
    const struct {
        const char *text, *stripped;
    } kRows[] = {
        {"", ""},
        {"nothing quoted", "nothing quoted"},
        {"cannot open \"a.exr\".", "cannot open \"\"."},
        {"from \"a\" to \"b\" failed", "from \"\" failed"},
        {"don't", "don''t"},  // a lone mark is both marks, and comes out doubled
        {"a \" b", "a \"\" b"},
        {"\xe2\x80\x9c"
         "a"
         "\xe2\x80\x9d and \xe2\x80\x98"
         "b\xe2\x80\x99",
         "\xe2\x80\x9c\xe2\x80\x9d and \xe2\x80\x98\xe2\x80\x99"},
        {"\xe2\x80\x9dx\xe2\x80\x9c",
         "\xe2\x80\x9dx\xe2\x80\x9c\xe2\x80\x9dx\xe2\x80\x9c"},  // the wrong way round
        {"\"it's\"", "\"\""},  // one kind after the other, on what the former left
        {"'a \"b' c\"", "''a \"\""},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Text(telemetry::StripQuotedContents(Text16(row.text))), row.stripped) << row.text;
    }
    const auto enclosed = telemetry::EncloseInQuotesForTelemetryRemoval(Text16("it's \"mine\""));
    EXPECT_EQ(Text(telemetry::StripQuotedContents(enclosed)), "\"\"");
}

const U_UTF8String kValue{zvkcore::string::Units(std::string_view{"v"})};

TEST(Telemetry, EverythingGoesToTheProvider)
{
    EXPECT_FALSE(telemetry::IsLogging());
    telemetry::LogEvent("a", "b", nullptr, {});  // nobody listens
    const auto detail = Text16("d");
    Provider provider;
    EXPECT_TRUE(telemetry::IsLogging());
    telemetry::LogEvent("c", "n", detail.c_str(), Guid::CreateRandom());
    telemetry::LogEventWithCount("c", "n", nullptr, {});
    telemetry::IncrementEventCount("c", "n", nullptr, {});
    telemetry::ClearEventCount("c", "n", nullptr, {});
    telemetry::LogEventsWithCount();
    telemetry::AddToGroup(telemetry::NewDataGroup("o", "c", "s", {}, true), "k", kValue, false);
    EXPECT_EQ(provider.calls, (Texts{"event cnd id", "counted cn", "increment cn", "clear cn", "all",
                                     "group o,c,s,use", "k=v"}));
}

TEST(Telemetry, WithoutProviderGroupsGoToTheUsageLoggerOnRequest)
{
    struct Group final : zvkcore::config::UsageLoggerGroup {
        explicit Group(std::string id) : fields(std::move(id)) {}
        void Add(const char* key, const U_UTF8String& value) override { fields += key + Bytes(value); }
        std::string fields;
    };
    struct Logger final : zvkcore::config::UsageLogger {
        telemetry::DataGroup NewGroup(const char*, const char*, const char*) override
        {
            return std::make_shared<Group>("");
        }
        telemetry::DataGroup NewGroup(const char*, const char*, const char*, const U_UTF8String& id) override
        {
            return std::make_shared<Group>(Bytes(id));
        }
    };
    EXPECT_EQ(telemetry::NewDataGroup("o", "c", "s", {}, true), nullptr);  // no logger either
    const auto former = zvkcore::config::UsageLogger::Set(std::make_shared<Logger>());
    EXPECT_EQ(telemetry::NewDataGroup("o", "c", "s", {}, false), nullptr);
    const Guid id = Guid::CreateRandom();
    for (const Guid& each : {Guid{}, id}) {
        const auto group = telemetry::NewDataGroup("o", "c", "s", each, true);
        ASSERT_TRUE(group);
        telemetry::AddToGroup(group, "k", kValue, true);
        telemetry::AddToGroup(group, "unwanted", kValue, false);
        telemetry::AddToGroup({}, "k", kValue, true);
        EXPECT_EQ(static_cast<Group&>(*group).fields, (each == id ? Bytes(id.AsUTF8String()) : "") + "kv");
    }
    zvkcore::config::UsageLogger::Set(former);
}

}  // namespace
