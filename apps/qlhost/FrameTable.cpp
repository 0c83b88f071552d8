#include "FrameTable.h"

namespace qlhost {

FrameTable::FrameTable(const std::filesystem::path& file) : m_file{std::fopen(file.c_str(), "w"), std::fclose}
{
    if (m_file) std::fputs("pass,frame,timecode,mean luma\n", m_file.get());
}

void FrameTable::Add(std::size_t pass, std::size_t frame, const std::string& timecode, double luma)
{
    std::snprintf(m_line, sizeof m_line, "%zu,%zu,%s,%.3f\n", pass, frame, timecode.c_str(), luma);
    std::fputs(m_line, m_file.get());
}

}  // namespace qlhost
