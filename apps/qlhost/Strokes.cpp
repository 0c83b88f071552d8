#include "Strokes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>

#include "Messages.h"

namespace qlhost {
namespace {

constexpr std::int64_t kMostFrame = 100'000'000;
constexpr double kFarthest = 1e6, kWidestBrush = 1e4;

// What is wrong with a line; never leaves this file.
struct Fault {
    std::string sentence;
};

using Words = std::vector<std::string_view>;

Words Split(std::string_view line)
{
    line = line.substr(0, line.find('#'));
    Words words;
    constexpr std::string_view kBlanks = " \t\r";
    for (std::size_t from = line.find_first_not_of(kBlanks); from != line.npos;) {
        const std::size_t to = std::min(line.find_first_of(kBlanks, from), line.size());
        words.push_back(line.substr(from, to - from));
        from = line.find_first_not_of(kBlanks, to);
    }
    return words;
}

template <class Number>
Number ParseNumber(std::string_view word, const char* key, Number least, Number most)
{
    Number number{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    // The comparison is false for a value that is no number.
    if (error != std::errc{} || end != word.data() + word.size() || !(number >= least && number <= most)) {
        throw Fault{
            Text("$$$/QLHost/Strokes/Number='@0' is no @1 that can be used", {std::string{word}, key})};
    }
    return number;
}

class Parser {
  public:
    explicit Parser(StrokeFile& file) : m_file{file} {}

    void ReadLine(const Words& words)
    {
        if (!m_versioned) {
            ExpectCount(words, 2);
            if (words[0] != "strokes")
                throw Fault{Text("$$$/QLHost/Strokes/First=the first word is '@0', not strokes",
                                 {std::string{words[0]}})};
            ParseNumber<std::int64_t>(words[1], "strokes", 1, 1);
            m_versioned = true;
        } else if (words[0] == "size") {
            ReadSize(words);
        } else if (words[0] == "frame") {
            ReadFrame(words);
        } else if (words[0] == "foreground" || words[0] == "background") {
            ReadStroke(words);
        } else {
            throw Fault{Text("$$$/QLHost/Strokes/Word='@0' is none of size, frame, foreground, background",
                             {std::string{words[0]}})};
        }
    }

    void End() const
    {
        if (m_file.frames.empty()) throw Fault{Text("$$$/QLHost/Strokes/Empty=the file names no frame")};
    }

  private:
    static void ExpectCount(const Words& words, std::size_t count)
    {
        if (words.size() == count) return;
        throw Fault{Text("$$$/QLHost/Strokes/Count='@0' wants @1 words behind it",
                         {std::string{words[0]}, std::to_string(count - 1)})};
    }

    static void ExpectWord(std::string_view word, std::string_view expected)
    {
        if (word == expected) return;
        throw Fault{Text("$$$/QLHost/Strokes/Expected='@0' stands where '@1' belongs",
                         {std::string{word}, std::string{expected}})};
    }

    void ReadSize(const Words& words)
    {
        ExpectCount(words, 3);
        m_file.size = {ParseNumber<std::uint32_t>(words[1], "size", 1, 1u << 16),
                       ParseNumber<std::uint32_t>(words[2], "size", 1, 1u << 16)};
    }

    void ReadFrame(const Words& words)
    {
        ExpectCount(words, 6);
        ExpectWord(words[2], "backward");
        ExpectWord(words[4], "forward");
        ManualFrame manual{};
        manual.frame = static_cast<std::int32_t>(ParseNumber<std::int64_t>(words[1], "frame", 0, kMostFrame));
        manual.backward =
            static_cast<std::uint32_t>(ParseNumber<std::int64_t>(words[3], "backward", 0, kMostFrame));
        manual.forward =
            static_cast<std::uint32_t>(ParseNumber<std::int64_t>(words[5], "forward", 0, kMostFrame));
        for (const ManualFrame& former : m_file.frames) {
            if (former.frame == manual.frame)
                throw Fault{Text("$$$/QLHost/Strokes/Twice=frame @0 stands here for the second time",
                                 {std::string{words[1]}})};
        }
        m_file.frames.push_back(std::move(manual));
    }

    void ReadStroke(const Words& words)
    {
        if (m_file.frames.empty())
            throw Fault{
                Text("$$$/QLHost/Strokes/NoFrame='@0' stands before any frame", {std::string{words[0]}})};
        if (words.size() < 3)
            throw Fault{Text("$$$/QLHost/Strokes/NoPlace='@0' wants a radius and at least one place",
                             {std::string{words[0]}})};
        Stroke stroke{
            words[0] == "foreground", ParseNumber<double>(words[1], "radius", 0.1, kWidestBrush), {}};
        for (std::size_t i = 2; i < words.size(); ++i) {
            const std::size_t comma = std::min(words[i].find(','), words[i].size());
            const std::string_view y =
                comma < words[i].size() ? words[i].substr(comma + 1) : std::string_view{};
            stroke.places.push_back(
                {ParseNumber<double>(words[i].substr(0, comma), "place", -kFarthest, kFarthest),
                 ParseNumber<double>(y, "place", -kFarthest, kFarthest)});
        }
        m_file.frames.back().strokes.push_back(std::move(stroke));
    }

    StrokeFile& m_file;
    bool m_versioned = false;
};

// Fills all pixels whose centre lies within `radius` of the line from a to b; gives how many were new.
std::uint64_t DrawLine(Stroke::Place a, Stroke::Place b, double radius, const PngSize& size,
                       std::uint8_t* gray)
{
    const auto clampTo = [](double value, std::uint32_t end) {
        return static_cast<std::int64_t>(std::clamp(value, 0.0, static_cast<double>(end)));
    };
    const std::int64_t left = clampTo(std::floor(std::min(a.x, b.x) - radius), size.width),
                       right = clampTo(std::ceil(std::max(a.x, b.x) + radius + 1), size.width),
                       top = clampTo(std::floor(std::min(a.y, b.y) - radius), size.height),
                       bottom = clampTo(std::ceil(std::max(a.y, b.y) + radius + 1), size.height);
    const double dx = b.x - a.x, dy = b.y - a.y, length = dx * dx + dy * dy;
    std::uint64_t drawn = 0;
    for (std::int64_t y = top; y < bottom; ++y) {
        for (std::int64_t x = left; x < right; ++x) {
            const double px = static_cast<double>(x) + 0.5 - a.x, py = static_cast<double>(y) + 0.5 - a.y;
            const double t = length > 0 ? std::clamp((px * dx + py * dy) / length, 0.0, 1.0) : 0.0;
            const double ex = px - t * dx, ey = py - t * dy;
            if (ex * ex + ey * ey > radius * radius) continue;
            std::uint8_t& pixel =
                gray[static_cast<std::size_t>(y) * size.width + static_cast<std::size_t>(x)];
            drawn += pixel == 0;
            pixel = 255;
        }
    }
    return drawn;
}

}  // namespace

bool ParseStrokes(std::string_view text, StrokeFile& file, std::string& why)
{
    file = {};
    Parser parser{file};
    std::size_t number = 0;
    try {
        for (std::size_t from = 0; from < text.size();) {
            const std::size_t to = std::min(text.find('\n', from), text.size());
            ++number;
            const Words words = Split(text.substr(from, to - from));
            if (!words.empty()) parser.ReadLine(words);
            from = to + 1;
        }
        parser.End();
        return true;
    } catch (const Fault& fault) {
        why = Text("$$$/QLHost/Strokes/Line=line @0: @1", {std::to_string(number), fault.sentence});
        return false;
    }
}

bool ReadStrokes(const std::filesystem::path& path, StrokeFile& file, std::string& why)
{
    std::ifstream stream{path, std::ios::binary};
    std::string text{std::istreambuf_iterator<char>{stream}, {}};
    if (!stream) {
        why = Text("$$$/QLHost/Strokes/Unreadable=@0 cannot be read", {path.string()});
        return false;
    }
    if (ParseStrokes(text, file, why)) return true;
    why = path.string() + ": " + why;
    return false;
}

std::uint64_t DrawStrokes(const ManualFrame& manual, bool subject, const PngSize& meant, const PngSize& size,
                          std::uint8_t* gray)
{
    const double scaleX = meant.width > 0 ? static_cast<double>(size.width) / meant.width : 1,
                 scaleY = meant.height > 0 ? static_cast<double>(size.height) / meant.height : 1;
    std::uint64_t drawn = 0;
    for (const Stroke& stroke : manual.strokes) {
        if (stroke.subject != subject) continue;
        const auto scaled = [&](const Stroke::Place& place) {
            return Stroke::Place{place.x * scaleX, place.y * scaleY};
        };
        const double radius =
            std::max(stroke.radius * std::min(scaleX, scaleY), 0.71);  // never misses every centre
        Stroke::Place from = scaled(stroke.places.front());
        for (const Stroke::Place& place : stroke.places) {
            const Stroke::Place to = scaled(place);
            drawn += DrawLine(from, to, radius, size, gray);
            from = to;
        }
    }
    return drawn;
}

}  // namespace qlhost
