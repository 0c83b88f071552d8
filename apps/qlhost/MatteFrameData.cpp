#include "MatteFrameData.h"

#include <U_Err.h>

#include "RenderThread.h"

namespace qlhost {
namespace {

constexpr std::uint32_t kPluginStatus = 0x00010006;  // where this host's reports say they come from

}  // namespace

std::shared_ptr<GrayImage> MatteFrameData::Output(tessaly::OutputIndex index)
{
    std::shared_ptr<GrayImage>& output = m_outputs[index];
    if (!output) output = GrayImage::Allocate(m_source.Size());
    return output;
}

tessaly::InputSequenceInfo MatteFrameData::GetInputSequenceInfo() const
{
    return {static_cast<std::int32_t>(m_source.Size().width),
            static_cast<std::int32_t>(m_source.Size().height)};
}

bool MatteFrameData::HasStrokesInTimeRange(tessaly::StrokeType type, int first, int last) const
{
    return type <= tessaly::StrokeType_Background &&
           m_source.HasStrokes(first, last, type == tessaly::StrokeType_Foreground);
}

zvkcore::utility::Guid MatteFrameData::GetCurrentParamState(int start, unsigned int count) const
{
    return m_source.State(start, count);
}

tessaly::AnyImageView MatteFrameData::AllocateOutput(tessaly::OutputIndex index)
{
    const auto output = Output(index);
    return output ? output->View() : tessaly::AnyImageView{};
}

void MatteFrameData::ReportStatus(const U_UTF16String& text, U_Severity severity)
{
    if (severity >= U_Sev_WARNING) U_ReportError(kPluginStatus, severity, text);
}

bool MatteFrameData::AbortRenderCheck() const
{
    return IsInterrupted();
}

}  // namespace qlhost
