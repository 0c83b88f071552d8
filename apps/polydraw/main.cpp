// polydraw: reads points from files and draws their hull, or what one polygon leaves of another, as a PNG.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "Picture.h"
#include "Points.h"

namespace {

enum ExitCode { kDone = 0, kBadFile = 1, kBadUsage = 2 };

struct Arguments {
    std::filesystem::path points, clip, subject, out;
};

int Draw(const Arguments& arguments, bool hull)
{
    try {
        const std::string caption =
            hull ? polydraw::DrawHull(polydraw::ReadPoints(arguments.points), arguments.out)
                 : polydraw::DrawClip(polydraw::ReadPoints(arguments.clip),
                                      polydraw::ReadPoints(arguments.subject), arguments.out);
        std::printf("%s\n", caption.c_str());
        return kDone;
    } catch (const polydraw::BadFile& bad) {
        std::fprintf(stderr, "polydraw: %s\n", bad.what());
        return kBadFile;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app{"Draws convex hulls and clipped polygons. A file holds one point a line, as \"x y\".",
                 "polydraw"};
    app.footer("Exit codes: 0 drawn; 1 a file cannot be used; 2 bad arguments.");
    app.require_subcommand(1);
    auto* hull = app.add_subcommand("hull", "The convex hull of points");
    hull->add_option("points", arguments.points, "File of points")->required();
    hull->add_option("out", arguments.out, "PNG file to write")->required();
    auto* clip = app.add_subcommand("clip", "A polygon, clipped by a convex one");
    clip->add_option("clip", arguments.clip, "File with the vertices of the convex polygon")->required();
    clip->add_option("subject", arguments.subject, "File with the vertices of the polygon to be clipped")
        ->required();
    clip->add_option("out", arguments.out, "PNG file to write")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& fault) {
        return app.exit(fault) == 0 ? kDone : kBadUsage;
    }
    return Draw(arguments, hull->parsed());
}
