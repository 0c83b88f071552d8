#include "Points.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <string>
#include <string_view>

namespace polydraw {
namespace {

constexpr std::string_view kBlanks = " \t\r";

// Takes a number off the front of a text.
bool TakeNumber(std::string_view& text, double& number)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return fault == std::errc() && std::fabs(number) <= 1e12;
}

bool IsSkipped(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(kBlanks);
    return first == std::string_view::npos || line[first] == '#';
}

}  // namespace

std::vector<M_Vector2> ReadPoints(const std::filesystem::path& file)
{
    std::ifstream stream{file};
    if (!stream) throw BadFile(file.string() + " cannot be read");
    std::vector<M_Vector2> points;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
        std::string_view rest = line;
        if (IsSkipped(rest)) continue;
        M_Vector2& point = points.emplace_back();
        if (TakeNumber(rest, point.x) && TakeNumber(rest, point.y) && IsSkipped(rest)) continue;
        throw BadFile(file.string() + ":" + std::to_string(number) + ": not a point: " + line);
    }
    if (stream.bad() || points.empty()) throw BadFile(file.string() + " holds no points");
    return points;
}

}  // namespace polydraw
