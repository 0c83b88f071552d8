// A language of 20,000 texts: a key looked up beside gettext, the whole loaded beside filling a hash map of
// strings, a numbered message beside gettext. Both sides look up the same keys, 4096 of them in turn, so
// neither has its one key in the cache; what they find is compared first.
#include <libintl.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Entries.h"
#include "Ratio.h"
#include "U_LStr.h"
#include "U_ZString.h"
#include "zlex.h"

namespace {

constexpr int kTexts = 20000;
constexpr int kAsked = 4096;  // a power of two
constexpr int kStride = 7919;
constexpr zlex::EncodingInfo kUTF8{zlex::kEncodingUTF8};

std::string Key(int number)
{
    return "/QL/Area" + std::to_string(number % 37) + "/message_" + std::to_string(number);
}

std::string Text(int number)
{
    return "text of message " + std::to_string(number);
}

/// The same texts in every form that somebody reads.
struct Language {
    std::vector<std::pair<std::string, std::string>> pairs;
    std::string block;
    std::vector<std::string> present;  // literals with no default
    std::vector<std::string> absent;

    Language()
    {
        zdict::Content content;
        for (int number = 0; number < kTexts; ++number) {
            const std::string text = Text(number);
            pairs.emplace_back("$$$" + Key(number), text);
            content.entries.push_back({Key(number), {text.begin(), text.end()}, {}});
        }
        block = zdict::WriteStored(content, false);
        for (int asked = 0; asked < kAsked; ++asked) {
            present.push_back(pairs[static_cast<size_t>(asked) * kStride % kTexts].first);
            absent.push_back(present.back() + "_absent");
        }
    }
};

const Language& TheLanguage()
{
    static const Language language;
    return language;
}

[[noreturn]] void Stop(const char* why)
{
    std::fprintf(stderr, "dictionary: %s\n", why);
    std::exit(1);
}

/// A gettext catalogue of the language in a folder of its own.
class Catalogue {
  public:
    Catalogue()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "ql_gettext_XXXXXX";
        if (!mkdtemp(pattern.data())) Stop("no folder for the catalogue");
        m_folder = pattern;
        const auto messages = m_folder / "xx" / "LC_MESSAGES";
        std::filesystem::create_directories(messages);
        std::ofstream po(m_folder / "peer.po");
        po << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
        for (const auto& [key, text] : TheLanguage().pairs) {
            po << "msgid \"" << key << "\"\nmsgstr \"" << text << "\"\n";
        }
        po.close();
        const std::string command =
            "msgfmt -o '" + (messages / "peer.mo").string() + "' '" + (m_folder / "peer.po").string() + "'";
        if (std::system(command.c_str()) != 0) Stop("msgfmt makes no catalogue");
        setenv("LANGUAGE", "xx", 1);
        setlocale(LC_ALL, "C.UTF-8");
        bindtextdomain("peer", m_folder.c_str());
    }
    ~Catalogue() { std::filesystem::remove_all(m_folder); }

  private:
    std::filesystem::path m_folder;
};

template <class Look>
qlbench::Body EachInTurn(const std::vector<std::string>& keys, Look look)
{
    return [&keys, look](benchmark::State& state) {
        size_t at = 0;
        for (auto _ : state) benchmark::DoNotOptimize(look(keys[at++ % kAsked].c_str()));
    };
}

zvkcore::string::UTF16String Widened(const char* text)
{
    const std::string_view view(text);
    return {view.begin(), view.end()};
}

void RequireTheSame(const zlex::Dictionary& dictionary)
{
    for (const std::string& key : TheLanguage().present) {
        const char* const peer = dgettext("peer", key.c_str());
        if (peer == key || dictionary.Lookup(key.c_str(), &kUTF8).Take() != Widened(peer)) {
            Stop("a text differs");
        }
    }
    for (const std::string& key : TheLanguage().absent) {
        if (dgettext("peer", key.c_str()) != key ||
            dictionary.Lookup(key.c_str(), &kUTF8).GetUnicodeSize() != 1) {
            Stop("an absent text was found");
        }
    }
}

void Load(benchmark::State& state)
{
    const std::string& block = TheLanguage().block;
    for (auto _ : state) {
        zlex::Dictionary dictionary;
        if (!dictionary.Read(block.data(), static_cast<int>(block.size()), false)) Stop("the block is bad");
    }
}

void LoadAndLookUp(benchmark::State& state)
{
    const std::string& block = TheLanguage().block;
    for (auto _ : state) {
        zlex::Dictionary dictionary;
        if (!dictionary.Read(block.data(), static_cast<int>(block.size()), false)) Stop("the block is bad");
        benchmark::DoNotOptimize(dictionary.Lookup(TheLanguage().present[1].c_str(), &kUTF8));
    }
}

void FillMap(benchmark::State& state)
{
    for (auto _ : state) {
        std::unordered_map<std::string, std::string> map;
        map.reserve(kTexts);
        for (const auto& [key, text] : TheLanguage().pairs) map.emplace(key, text);
        benchmark::DoNotOptimize(map.size());
    }
}

/// A table of messages, all converted.
class Messages {
  public:
    Messages() : m_rows(kAsked + 1)
    {
        for (size_t row = 0; row < kAsked; ++row) {
            m_rows[row].key = const_cast<char*>(TheLanguage().present[row].c_str());
        }
        m_header = {const_cast<char*>("B"), kAsked + 1, m_rows.data(), 0};
        for (int row = 0; row < kAsked; ++row) Look(row);
    }
    const char* Look(int row) const
    {
        return U_ZLookupLStrCache(reinterpret_cast<U_ZLStrCache_Opaque*>(&m_header), row, 0, nullptr);
    }

  private:
    std::vector<U_ZLStrCacheEntry> m_rows;
    mutable U_ZLStrCache m_header;
};

}  // namespace

int main(int argc, char** argv)
{
    const Catalogue catalogue;
    const std::string& block = TheLanguage().block;
    zlex::Dictionary dictionary;
    if (!dictionary.Read(block.data(), static_cast<int>(block.size()), false)) Stop("the block is bad");
    RequireTheSame(dictionary);

    std::vector<unsigned short> units(block.size() / 2 + 1);
    block.copy(reinterpret_cast<char*>(units.data()), block.size());
    if (U_ZLocaleBirth() != 0 || U_ZStringSetCurrentDictionary(units.data(), block.size()) != 0) {
        Stop("the locale takes no dictionary");
    }
    const Messages messages;
    if (std::string_view(messages.Look(1)) != dgettext("peer", TheLanguage().present[1].c_str())) {
        Stop("a message differs");
    }

    const auto gettextBody = [](const char* key) { return dgettext("peer", key); };
    const auto lookUp = [&dictionary](const char* key) { return dictionary.Lookup(key, &kUTF8); };
    const auto& present = TheLanguage().present;
    const auto& absent = TheLanguage().absent;
    qlbench::Pair("key of 20,000, found / gettext", 2, EachInTurn(present, lookUp),
                  EachInTurn(present, gettextBody));
    qlbench::Pair("key of 20,000, absent / gettext", 1, EachInTurn(absent, lookUp),
                  EachInTurn(absent, gettextBody));
    qlbench::Pair("through the locale, found / gettext", 0, EachInTurn(present, U_ZStringToUTF16String),
                  EachInTurn(present, gettextBody));
    qlbench::Pair(
        "converted message / gettext", 0.2,
        [&messages](benchmark::State& state) {
            int at = 0;
            for (auto _ : state) benchmark::DoNotOptimize(messages.Look(at++ % kAsked));
        },
        EachInTurn(present, gettextBody));
    qlbench::Pair("loading 20,000 / filling unordered_map", 0.05, Load, FillMap);
    qlbench::Pair("loading and a first key / filling unordered_map", 0, LoadAndLookUp, FillMap);
    const int result = qlbench::Main(argc, argv);
    U_ZLocaleDeath();
    return result;
}
