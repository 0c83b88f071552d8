#include <algorithm>

#include "ErrorsTest.h"
#include "Up_Posted.h"

namespace {

using namespace errorstest;

// --- Grammar ---------------------------------------------------------------------------------------------

TEST(GroupGrammar, IdentifierGoesTogetherAndApart)
{
    const struct {
        const char *identifier, *plural, *type, *singular;
    } kRows[] = {
        {"many|||one###@0 of them:", "many", "@0 of them:", "one"},
        {"many|||one", "many", "Errors:", "one"},
        {"lead###type", "lead", "type", "lead"},
        {"lead", "lead", "Errors:", "lead"},
        {"", "", "Errors:", ""},
        {"many|||one|||more###a###b", "many", "a###b", "one|||more"},
    };
    for (const auto& row : kRows) {
        U_UTF16String plural = Text16(row.identifier), type, singular;
        U_ExtractSingularPluralFromUniqueGroupIdentifier(plural, plural, type, singular);
        EXPECT_EQ((Texts{Text(plural), Text(type), Text(singular)}),
                  (Texts{row.plural, row.type, row.singular}))
            << row.identifier;
    }
    EXPECT_EQ(Text(U_FormUniqueGroupErrorMessageIdentifier(Text16("p"), Text16("t"), Text16("s"))),
              "p|||s###t");
}

TEST(GroupGrammar, MessageIsTaggedAndStripped)
{
    const struct {
        const char *text, *message, *identifier;
        size_t position;
    } kRows[] = {
        {"Grouped_Message_{id}text", "text", "id", 0},
        {"Name error: Grouped_Message_{id}text", "text", "id", 12},
        {"{x} Grouped_Message_{}", "", "", 4},
        {"no tag {id}text", "no tag {id}text", "", U_UTF16String::npos},
        {"Grouped_Message_ no braces", "Grouped_Message_ no braces", "", 0},
        {"Grouped_Message_{never closed", "Grouped_Message_{never closed", "", 0},
        {"Grouped_Message_}behind{", "behind{", "", 0},
        {"Grouped_Message_{a}b}c", "b}c", "a", 0},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.text);
        size_t position = 0;
        U_UTF16String identifier = Text16("left over");
        EXPECT_EQ(U_IsGroupedErrorMessage(Text16(row.text), &position), row.position != U_UTF16String::npos);
        EXPECT_EQ(position, row.position);
        EXPECT_EQ(Text(U_StripGroupedErrorMessage(Text16(row.text), &identifier)), row.message);
        EXPECT_EQ(Text(identifier), row.identifier);
    }
    EXPECT_EQ(Text(U_GroupErrorMessage(Text16("text"), Text16("id@0"))), "Grouped_Message_{id@0}text");
}

// --- Folding ---------------------------------------------------------------------------------------------

struct Post {
    const char* message;
    U_Severity severity = U_Sev_WARNING;
    const char* title = "";
};

struct FoldRow {
    const char* name;
    std::vector<Post> posts;
    Texts dialogs;  // severity, location, flags for group and telemetry, title, text
};

class Folding : public testing::TestWithParam<FoldRow> {};

TEST_P(Folding, GivesTheseDialogs)
{
    std::vector<Up_PostErrorData> list;
    for (const auto& [message, severity, title] : GetParam().posts) {
        list.push_back({Text16(message), severity, Text16("here"), Text16(title), false, false});
    }
    Up_SeparateOutErrorGroups(list);
    Texts dialogs;
    for (const auto& entry : list) {
        std::string text = Text(entry.message);
        std::replace(text.begin(), text.end(), '\r', '/');
        dialogs.push_back(std::to_string(entry.severity) + Text(entry.location) +
                          (entry.is_group_dialog ? " g" : " -") + (entry.send_telemetry ? "t" : "-") +
                          Text(entry.aggregation_title) + " " + text);
    }
    EXPECT_EQ(dialogs, GetParam().dialogs);
}

#define G "Grouped_Message_{many|||one###@0 files:}"

INSTANTIATE_TEST_SUITE_P(
    Rows, Folding,
    testing::Values(
        FoldRow{"OneOfAGroupIsSingular", {{"x " G "a", 8}}, {"8here g- one//a"}},
        FoldRow{"CountIncludesDuplicates", {{G "a"}, {G "a"}}, {"4 gt many//2 files://1)   a"}},
        FoldRow{"OnlyNeighboursAreDuplicates",
                {{G "a"}, {G "b"}, {G "a"}, {G "a", 8}},
                {"8 gt many//4 files://1)   a//2)   b//3)   a//4)   a"}},
        FoldRow{
            "HighSeveritiesNeverRise", {{G "a", 32}, {G "b", 128}}, {"1 gt many//2 files://1)   a//2)   b"}},
        FoldRow{"FatalRises", {{G "a", 16}, {G "b", 128}}, {"16 gt many//2 files://1)   a//2)   b"}},
        FoldRow{"IdentifierAloneIsTheLead",
                {{"Grouped_Message_{id}a"}, {"Grouped_Message_{id}b"}},
                {"4 gt id//2 Errors://1)   a//2)   b"}},
        FoldRow{"BothPlacesAreFilledAndNoOther",
                {{"Grouped_Message_{p###@0 of @0 @1}a"}, {"Grouped_Message_{p###@0 of @0 @1}b"}},
                {"4 gt p//2 of 2 @1//1)   a//2)   b"}},
        FoldRow{"TitleTakesSeverityOfTheFirst", {{"a", 4, "T"}, {"b", 8, "T"}}, {"4 gt T//1)   a//2)   b"}},
        FoldRow{"TitleDuplicatesIgnoreSeverity",
                {{"", 4, "T"}, {"a", 4, "T"}, {"a", 8, "T"}, {"b", 8, "T"}, {"a", 8, "T"}},
                {"4 gt T//1)   a//2)   b//3)   a"}},
        FoldRow{
            "GroupGoesBeforeTitle", {{G "a", 4, "T"}, {"b", 4, "T"}}, {"4here g-T one//a", "4here --T b"}},
        FoldRow{
            "OrderIsPostsThenGroupsThenTitles",
            {{"t", 4, "T"}, {"s", 4, "S"}, {"Grouped_Message_{z}g"}, {"1"}, {"Grouped_Message_{a}g"}, {"2"}},
            {"4here -- 1", "4here -- 2", "4here g- a//g", "4here g- z//g", "4here --S s", "4here --T t"}},
        FoldRow{"TagWithoutBracesKeepsItsText", {{"Grouped_Message_ a"}}, {"4here g- //Grouped_Message_ a"}}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
