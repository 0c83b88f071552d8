// zdict: for the people who make dictionaries. Compiles the text form into the stored one, dumps a stored one
// as text, and looks a key up.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Entries.h"
#include "zlexp_Dictionary.h"
#include "zvkcore/string/Convert.h"

namespace {

enum ExitCode {
    kDone = 0,
    kNotFound = 1,  // the key that was looked up
    kBadUsage = 2,
    kBadFile = 3,    // cannot be opened, read or written
    kBadContent = 4  // read, but no dictionary
};

struct BadFile : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr const char* kStandardStream = "-";

std::string ReadFile(const std::string& name)
{
    std::ifstream file;
    if (name != kStandardStream) file.open(name, std::ios::binary);
    std::istream& in = name == kStandardStream ? std::cin : file;
    std::ostringstream bytes;
    if (in.peek() != std::istream::traits_type::eof()) bytes << in.rdbuf();
    if (in.bad() || !bytes || (name != kStandardStream && !file.is_open())) {
        throw BadFile(name + ": cannot be read");
    }
    return std::move(bytes).str();
}

void WriteFile(const std::string& name, const std::string& bytes)
{
    std::ofstream file;
    if (name != kStandardStream) file.open(name, std::ios::binary | std::ios::trunc);
    std::ostream& out = name == kStandardStream ? std::cout : file;
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) throw BadFile(name + ": cannot be written");
}

zdict::Content ReadContent(const std::string& name)
{
    try {
        zdict::Content content = zdict::ReadContent(ReadFile(name));
        for (const std::string& warning : content.warnings) {
            std::cerr << "zdict: " << name << ": warning: " << warning << '\n';
        }
        return content;
    } catch (const zdict::BadDictionary& bad) {
        throw zdict::BadDictionary(name + ": " + bad.what());
    }
}

struct Arguments {
    std::string input;
    std::string output = kStandardStream;
    std::string name;
    std::string key;
    bool swapped = false;
};

int Compile(const Arguments& arguments)
{
    zdict::Content content = ReadContent(arguments.input);
    if (!arguments.name.empty()) content.name = arguments.name;
    WriteFile(arguments.output, zdict::WriteStored(content, arguments.swapped));
    return kDone;
}

int Dump(const Arguments& arguments)
{
    WriteFile(arguments.output, zdict::WriteText(ReadContent(arguments.input)));
    return kDone;
}

int LookUp(const Arguments& arguments)
{
    const std::string bytes = ReadFile(arguments.input);
    zlex_private::Dictionary dictionary;
    const bool fits = bytes.size() <= INT32_MAX;
    if (!fits || !dictionary.Read(bytes.data(), static_cast<int>(bytes.size()), false)) {
        throw zdict::BadDictionary(arguments.input + ": no dictionary that can be read");
    }
    zlex_private::UTF16String text;
    const zlex_private::SplitKey split = zlex_private::Split(arguments.key);
    if (split.isMalformed || !dictionary.Find(split.key, text)) {
        std::cerr << "zdict: " << arguments.input << ": no text for " << arguments.key << '\n';
        return kNotFound;
    }
    std::cout << zvkcore::string::View(zvkcore::string::UTF16to8(text)) << '\n';
    return kDone;
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app{
        "Makes and reads dictionaries of localised text.\n"
        "A file name of - is the standard input or output.\n"
        "Exit codes: 0 done, 1 key not found, 2 bad usage, 3 file cannot be read or written,\n"
        "4 no dictionary, or one that cannot be written in this form."};
    app.require_subcommand(1);

    CLI::App* compile =
        app.add_subcommand("compile", "Compile a dictionary, in either form, into the stored form");
    compile->add_option("input", arguments.input, "The dictionary")->required();
    compile->add_option("-o,--output", arguments.output, "Where the stored form goes")->required();
    compile->add_option("--name", arguments.name, "A name that is kept with the dictionary");
    compile->add_flag("--swapped", arguments.swapped, "Write for machines of the other byte order");

    CLI::App* dump = app.add_subcommand("dump", "Write a dictionary, in either form, as text in UTF-8");
    dump->add_option("input", arguments.input, "The dictionary")->required();
    dump->add_option("-o,--output", arguments.output, "Where the text goes")->capture_default_str();

    CLI::App* lookup = app.add_subcommand("lookup", "Print the text of one key");
    lookup->add_option("input", arguments.input, "The dictionary")->required();
    lookup->add_option("key", arguments.key, "The key; dollar signs in front and a default text are ignored")
        ->required();

    try {
        app.parse(argc, argv);
        return *compile ? Compile(arguments) : *dump ? Dump(arguments) : LookUp(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kBadUsage;
    } catch (const zdict::BadDictionary& bad) {
        std::cerr << "zdict: " << bad.what() << '\n';
        return kBadContent;
    } catch (const BadFile& bad) {
        std::cerr << "zdict: " << bad.what() << '\n';
        return kBadFile;
    } catch (const std::bad_alloc&) {
        std::cerr << "zdict: out of memory\n";
        return kBadFile;
    }
}
