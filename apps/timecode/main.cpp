// timecode: converts between timecode, frames and seconds at a frame rate, one value a line.
#include <CLI/CLI.hpp>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "Convert.h"
#include "U.h"
#include "U_ErrState.h"

namespace {

enum ExitCode {
    kDone = 0,
    kBadValues = 1,  // some; the others were converted
    kBadUsage = 2,
    kNoLibrary = 3
};

struct Arguments {
    std::string rate = "24";
    timecode::Unit from = timecode::Unit::kFrames;
    timecode::Unit to = timecode::Unit::kTimecode;
    bool nonDrop = false;
    std::vector<std::string> values;
};

// Converts values one by one and keeps the list in step: a value that cannot be converted gives a dash.
class List {
  public:
    explicit List(const Arguments& arguments)
        : m_converter(timecode::RateOf(arguments.rate), arguments.nonDrop),
          m_from(arguments.from),
          m_to(arguments.to)
    {
    }

    void Take(std::string value)
    {
        ++m_line;
        const size_t first = value.find_first_not_of(" \t\r");
        if (first == std::string::npos || value[first] == '#') return;
        value = value.substr(first, value.find_last_not_of(" \t\r") - first + 1);
        try {
            std::cout << m_converter.Convert(value, m_from, m_to) << '\n';
        } catch (const timecode::BadValue& bad) {
            std::cout << "-\n";
            std::cerr << "timecode: line " << m_line << ": " << bad.what() << '\n';
            m_result = kBadValues;
        }
    }

    int Result() const { return m_result; }

  private:
    timecode::Converter m_converter;
    timecode::Unit m_from;
    timecode::Unit m_to;
    size_t m_line = 0;
    int m_result = kDone;
};

int Run(const Arguments& arguments)
{
    List list(arguments);
    for (const std::string& value : arguments.values) list.Take(value);
    if (arguments.values.empty()) {
        for (std::string line; std::getline(std::cin, line);) list.Take(line);
    }
    if (!std::cout.flush()) {
        std::cerr << "timecode: the output cannot be written\n";
        return kBadValues;
    }
    return list.Result();
}

}  // namespace

int main(int argc, char** argv)
{
    const std::map<std::string, timecode::Unit> units = {{"timecode", timecode::Unit::kTimecode},
                                                         {"frames", timecode::Unit::kFrames},
                                                         {"seconds", timecode::Unit::kSeconds},
                                                         {"ratio", timecode::Unit::kRatio}};
    Arguments arguments;
    CLI::App app("Converts between timecode, frames and seconds at a frame rate, one value a line.");
    app.footer(
        "Blank lines and lines that begin with # are passed over. A value that cannot be converted gives a\n"
        "dash and a line on standard error.\n"
        "Hours of timecode wrap at 24, as on a clock.\n"
        "Exit status: 0 all converted, 1 some values refused, 2 wrong usage, 3 the library cannot start.\n"
        "Negative values follow a bare --, or come from standard input.\n"
        "Example: seq 1798 1802 | timecode --rate 29.97");
    app.add_option("--rate", arguments.rate,
                   "frames per second: 11.988, 23.976, 29.97, 59.94 or a whole number from 1 to 999")
        ->capture_default_str();
    app.add_flag("--non-drop", arguments.nonDrop, "count 29.97 and 59.94 without dropping labels");
    app.add_option("--from", arguments.from, "timecode, frames (the default), seconds or ratio")
        ->transform(CLI::CheckedTransformer(units).description(""));
    app.add_option("--to", arguments.to, "timecode (the default), frames, seconds or ratio")
        ->transform(CLI::CheckedTransformer(units).description(""));
    app.add_option("value", arguments.values,
                   "values to convert; without any they are read from standard input");
    try {
        app.parse(argc, argv);
        timecode::RateOf(arguments.rate);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kBadUsage;
    } catch (const timecode::BadValue& bad) {
        std::cerr << "timecode: " << bad.what() << '\n';
        return kBadUsage;
    }
    // What cannot be counted is told once, by the line of the list.
    if (U_Birth("timecode", 1) != 0) return kNoLibrary;
    U_StartQuietErrorsOnCurrentThread(0);
    const int result = Run(arguments);
    U_EndQuietErrorsOnCurrentThread();
    U_Death();
    return result;
}
