// Separable resampling: for each row of the target the rows of the source that it takes from are added up by
// their weights, and the sum is then taken along the row. Which pixels an axis takes from, with which
// weights, is worked out once for each axis, in integers, so no edge depends on rounding. No state.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "SMS_Pixels.h"
#include "SMSp_PixelForms.h"

namespace tessaly {
namespace {

// The source pixels of one target pixel: `count` of them from `first` on, whose weights begin at `weights`.
struct Taps {
    std::size_t first;
    std::size_t count;
    std::size_t weights;
};

struct Axis {
    std::vector<Taps> taps;
    std::vector<float> weights;  // of each target pixel they add up to 1

    void Begin(std::uint64_t first) { taps.push_back({static_cast<std::size_t>(first), 0, weights.size()}); }
    void Add(double weight)
    {
        weights.push_back(static_cast<float>(weight));
        ++taps.back().count;
    }
};

// In units of which a source pixel has `to` and a target pixel `from`: both axes have the same length.
Axis Shrink(std::uint64_t from, std::uint64_t to)
{
    Axis axis;
    for (std::uint64_t at = 0; at < to; ++at) {
        const std::uint64_t start = at * from;
        const std::uint64_t end = start + from;
        axis.Begin(start / to);
        for (std::uint64_t source = start / to; source * to < end; ++source) {
            const std::uint64_t low = std::max(start, source * to);
            const std::uint64_t high = std::min(end, (source + 1) * to);
            axis.Add(static_cast<double>(high - low) / static_cast<double>(from));
        }
    }
    return axis;
}

// Centre to centre: target pixel i stands at ((2 i + 1) from - to) / (2 to) in source pixels.
Axis Grow(std::uint64_t from, std::uint64_t to)
{
    Axis axis;
    for (std::uint64_t at = 0; at < to; ++at) {
        const std::uint64_t centre = 2 * at * from + from;
        const std::uint64_t place = centre > to ? centre - to : 0;
        const std::uint64_t source = place / (2 * to);
        axis.Begin(source);
        if (source + 1 >= from) {
            axis.Add(1);
        } else {
            const double share = static_cast<double>(place % (2 * to)) / static_cast<double>(2 * to);
            axis.Add(1 - share);
            axis.Add(share);
        }
    }
    return axis;
}

Axis Fit(std::ptrdiff_t from, std::ptrdiff_t to)
{
    const auto source = static_cast<std::uint64_t>(from);
    const auto target = static_cast<std::uint64_t>(to);
    return target < source ? Shrink(source, target) : Grow(source, target);
}

void AddRow(const std::uint8_t* __restrict row, float weight, float* __restrict sum, std::size_t count)
{
    std::size_t at = 0;
    for (; at + kBlock <= count; at += kBlock) {
        for (std::size_t lane = 0; lane < kBlock; ++lane)
            sum[at + lane] += weight * static_cast<float>(row[at + lane]);
    }
    for (; at < count; ++at) sum[at] += weight * static_cast<float>(row[at]);
}

// Makes the rows of the target from the top on.
class Rows {
  public:
    Rows(const Gray8View& source, std::ptrdiff_t width, std::ptrdiff_t height)
        : m_source(source),
          m_across(Fit(source.width(), width)),
          m_down(Fit(source.height(), height)),
          m_sum(static_cast<std::size_t>(source.width())),
          m_row(static_cast<std::size_t>(width))
    {
    }

    const std::vector<std::uint8_t>& Make(std::ptrdiff_t y)
    {
        const Taps& taps = m_down.taps[static_cast<std::size_t>(y)];
        std::fill(m_sum.begin(), m_sum.end(), 0.0f);
        for (std::size_t tap = 0; tap < taps.count; ++tap) {
            AddRow(FirstChannel(m_source, static_cast<std::ptrdiff_t>(taps.first + tap)),
                   m_down.weights[taps.weights + tap], m_sum.data(), m_sum.size());
        }
        for (std::size_t x = 0; x < m_row.size(); ++x) m_row[x] = TakeAlong(m_across.taps[x]);
        return m_row;
    }

  private:
    std::uint8_t TakeAlong(const Taps& taps) const
    {
        float value = 0.5f;
        for (std::size_t tap = 0; tap < taps.count; ++tap) {
            value += m_across.weights[taps.weights + tap] * m_sum[taps.first + tap];
        }
        return static_cast<std::uint8_t>(std::min(value, 255.0f));
    }

    const Gray8View& m_source;
    Axis m_across;
    Axis m_down;
    std::vector<float> m_sum;
    std::vector<std::uint8_t> m_row;
};

}  // namespace

void view_resizer::operator()(const Gray8View& source, const AnyImageView& target) const
{
    if (source.width() <= 0 || source.height() <= 0 || CountPixels(target) == 0) return;
    Rows rows(source, target.width(), target.height());
    boost::variant2::visit(
        [&]<class View>(const View& form) {
            for (std::ptrdiff_t y = 0; y < form.height(); ++y) {
                const auto& row = rows.Make(y);
                RowFromBytes<kPixelStep<View>>(row.data(), row.size(), FirstChannel(form, y));
            }
        },
        target);
}

}  // namespace tessaly
