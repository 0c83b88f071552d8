#include "Timeline.h"

#include <algorithm>

namespace qlhost {
namespace {

struct Edge {
    double at;
    int step;  // 1 where a span begins, -1 where one ends
};

template <class Wanted>
std::vector<Edge> Edges(const std::vector<std::vector<Timeline::Span>>& rows, Wanted wanted)
{
    std::vector<Edge> edges;
    for (const auto& row : rows) {
        for (const auto& span : row) {
            if (!wanted(span.work)) continue;
            edges.push_back({span.from, 1});
            edges.push_back({span.to, -1});
        }
    }
    // An end at the very moment of a beginning comes first: touching is no overlap.
    std::sort(edges.begin(), edges.end(),
              [](const Edge& a, const Edge& b) { return a.at != b.at ? a.at < b.at : a.step < b.step; });
    return edges;
}

}  // namespace

double Timeline::WriterOverlap() const
{
    double longest = 0, since = 0;
    int inside = 0;
    for (const Edge& edge : Edges(m_spans, [](Work work) { return work == Work::Write; })) {
        if (inside >= 2) longest = std::max(longest, edge.at - since);
        inside += edge.step;
        since = edge.at;
    }
    return longest;
}

double Timeline::ParallelShare() const
{
    double parallel = 0, since = 0, end = 0;
    int working = 0;
    for (const Edge& edge :
         Edges(m_spans, [](Work work) { return work == Work::Decode || work == Work::Look; })) {
        if (working >= 2) parallel += edge.at - since;
        working += edge.step;
        since = end = edge.at;
    }
    return end > 0 ? parallel / end : 0;
}

}  // namespace qlhost
