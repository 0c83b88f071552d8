// What a matte run leaves in its output folder, and what of it is measured:
//
//     segments/segment_0000.png   the plug-in's segment, gray, 0 or 255
//     trimaps/trimap_0000.png     0 ground, 128 unsure, 255 subject
//     mattes/matte_0000.png       the subject's share of each pixel
//     composites/frame_0000.png   the subject before another ground, with timecode
//     contact.png                 mattes and composites of up to 24 frames
//     mattes.csv                  a line a frame: timecode, area, corners and area of the hull, overlap
//     spans.txt                   the span manager's text, frozen frames included
#ifndef QLHOST_MATTEOUTPUT_H
#define QLHOST_MATTEOUTPUT_H

#include <optional>

#include "Labels.h"
#include "MatteSource.h"
#include "Thumbnail.h"

namespace qlhost {

/// The results of a frame in rows of gray.
struct MattePlanes {
    std::shared_ptr<GrayImage> segment, trimap, matte;
};

struct MatteMeasures {
    double area = 0;                // pixels, soft ones by their share
    std::size_t hullCorners = 0;    // of the hull of all pixels that are at least half covered
    double hullArea = 0;            // pixels
    std::optional<double> overlap;  // with the true matte: least of both over greatest of both, 0 to 1
    std::optional<Thumbnail> matte, composite;
};

class MatteOutput {
  public:
    /// `truth` is a folder of matte_0000.png and so on, or empty.
    MatteOutput(std::filesystem::path folder, std::filesystem::path truth, const Rate& rate);

    /// Makes the folders.
    bool Prepare(std::string& why) const;

    /// Writes the pictures of a frame and measures its matte.
    bool Write(int frame, const Frame& input, const MattePlanes& planes, MatteMeasures& measures,
               std::string& why) const;
    /// Whether the written segment, trimap and matte are these, byte for byte; `why` names the first that is
    /// not.
    bool IsWritten(int frame, const MattePlanes& planes, std::string& why) const;

    std::filesystem::path TextFile() const { return m_folder / "spans.txt"; }
    std::filesystem::path ContactSheet() const { return m_folder / "contact.png"; }
    bool DrawContactSheet(const std::vector<MatteMeasures>& frames) const;

  private:
    bool WriteComposite(int frame, const Frame& input, const GrayImage& matte, MatteMeasures& measures,
                        std::string& why) const;
    std::optional<double> Overlap(int frame, const GrayImage& matte) const;

    const std::filesystem::path m_folder, m_truth;
    const Rate& m_rate;
};

}  // namespace qlhost

#endif
