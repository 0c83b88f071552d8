// The graph is a compressed one: its nodes are the free pixels, then source and sink, and the edges of a node
// lie beside one another in an order that is known before the graph is, so that the partner of each edge is
// found by arithmetic. A pixel has one edge to a terminal, since only the difference of two counts.
#include "GraphCut.h"

#include <algorithm>
#include <boost/graph/boykov_kolmogorov_max_flow.hpp>
#include <boost/graph/compressed_sparse_row_graph.hpp>
#include <cmath>

namespace segmatte {
namespace {

using Graph = boost::compressed_sparse_row_graph<boost::directedS, boost::no_property, boost::no_property,
                                                 boost::no_property, std::uint32_t, std::uint32_t>;
using Edge = boost::graph_traits<Graph>::edge_descriptor;

// Capacities are whole numbers, so that the flow ends; a unit of evidence is this many.
constexpr float kUnit = 256.0f;
constexpr float kMostEvidence = 1.0e5f;
constexpr std::uint32_t kNone = 0xFFFFFFFFu;

constexpr struct {
    int dx, dy;
    float distance;
} kNeighbours[] = {{-1, -1, 1.41421356f}, {0, -1, 1}, {1, -1, 1.41421356f}, {-1, 0, 1}, {1, 0, 1},
                   {-1, 1, 1.41421356f},  {0, 1, 1},  {1, 1, 1.41421356f}};
constexpr std::size_t kAround = std::size(kNeighbours);
constexpr std::size_t Opposite(std::size_t k)
{
    return kAround - 1 - k;
}
static_assert(kNeighbours[0].dx == -kNeighbours[Opposite(0)].dx &&
              kNeighbours[2].dy == -kNeighbours[Opposite(2)].dy);

// A border is cheap where colours differ more than they do on the average in this picture.
class BorderPrice {
  public:
    BorderPrice(const Image& image, float smooth) : m_image{image}, m_smooth{smooth}
    {
        double sum = 0, count = 0;
        for (int y = 0; y < image.height; ++y) {
            for (int x = 0; x + 1 < image.width; ++x, ++count)
                sum += SquaredDistance(image.At(x, y), image.At(x + 1, y));
        }
        m_beta = static_cast<float>(sum > 0 ? count / (2 * sum) : 0);
    }
    float operator()(int x, int y, std::size_t k) const
    {
        const auto& step = kNeighbours[k];
        const auto difference =
            static_cast<float>(SquaredDistance(m_image.At(x, y), m_image.At(x + step.dx, y + step.dy)));
        return m_smooth * std::exp(-m_beta * difference) / step.distance;
    }

  private:
    const Image& m_image;
    float m_smooth, m_beta;
};

struct Pixel {
    int x, y;
};

// Everything that the max-flow reads and writes, by node or by edge.
class Network {
  public:
    Network(const Image& image, const Plane<Known>& known, const Plane<float>& favour, float smooth)
        : m_known{known}, m_node{image.width, image.height, kNone}, m_price{image, smooth}
    {
        Number();
        for (std::uint32_t node = 0; node < m_pixels.size(); ++node) CollectEvidence(node, favour);
        Link();
    }

    Mask Solve()
    {
        const auto source = static_cast<std::uint32_t>(m_pixels.size()), sink = source + 1, nodes = sink + 1;
        Graph graph{boost::edges_are_sorted, m_edges.begin(), m_edges.end(), nodes};
        std::vector<Edge> edges, partners(m_edges.size());
        for (auto [edge, end] = boost::edges(graph); edge != end; ++edge) edges.push_back(*edge);
        for (std::size_t i = 0; i < edges.size(); ++i) partners[i] = edges[m_partner[i]];

        std::vector<std::int32_t> rest(m_edges.size());
        std::vector<Edge> predecessor(nodes);
        std::vector<boost::default_color_type> colour(nodes);
        std::vector<std::int32_t> distance(nodes);
        const auto byEdge = boost::get(boost::edge_index, graph);
        const auto byNode = boost::get(boost::vertex_index, graph);
        boost::boykov_kolmogorov_max_flow(
            graph, boost::make_iterator_property_map(m_capacity.begin(), byEdge),
            boost::make_iterator_property_map(rest.begin(), byEdge),
            boost::make_iterator_property_map(partners.begin(), byEdge),
            boost::make_iterator_property_map(predecessor.begin(), byNode),
            boost::make_iterator_property_map(colour.begin(), byNode),
            boost::make_iterator_property_map(distance.begin(), byNode), byNode, source, sink);
        Mask mask{m_known.width, m_known.height};
        for (std::size_t i = 0; i < mask.pixels.size(); ++i)
            mask.pixels[i] = m_known.pixels[i] == Known::Subject;
        for (std::size_t node = 0; node < m_pixels.size(); ++node)
            mask.At(m_pixels[node].x, m_pixels[node].y) = colour[node] == boost::black_color;
        return mask;
    }

  private:
    void Number()
    {
        for (int y = 0; y < m_known.height; ++y) {
            for (int x = 0; x < m_known.width; ++x) {
                if (m_known.At(x, y) != Known::Free) continue;
                m_node.At(x, y) = static_cast<std::uint32_t>(m_pixels.size());
                m_pixels.push_back({x, y});
            }
        }
        m_evidence.resize(m_pixels.size());
    }

    // A known neighbour is as good as a terminal.
    void CollectEvidence(std::uint32_t node, const Plane<float>& favour)
    {
        const auto [x, y] = m_pixels[node];
        float evidence = favour.At(x, y);
        for (std::size_t k = 0; k < kAround; ++k) {
            const int u = x + kNeighbours[k].dx, v = y + kNeighbours[k].dy;
            if (!m_known.Holds(u, v) || m_known.At(u, v) == Known::Free) continue;
            evidence += m_known.At(u, v) == Known::Subject ? m_price(x, y, k) : -m_price(x, y, k);
        }
        m_evidence[node] =
            static_cast<std::int32_t>(std::clamp(evidence, -kMostEvidence, kMostEvidence) * kUnit);
    }

    void Link()
    {
        const auto count = static_cast<std::uint32_t>(m_pixels.size()), source = count, sink = count + 1;
        std::vector<std::uint32_t> first(count + 1);
        std::vector<std::uint32_t> terminal(
            count);  // the edge between a pixel and its terminal, at the pixel
        for (std::uint32_t node = 0; node < count; ++node) {
            first[node] = static_cast<std::uint32_t>(m_edges.size());
            const auto [x, y] = m_pixels[node];
            for (std::size_t k = 0; k < kAround; ++k) {
                const std::uint32_t other = FreeNeighbour(x, y, k);
                if (other != kNone) Add(node, other, static_cast<std::int32_t>(m_price(x, y, k) * kUnit));
            }
            terminal[node] = static_cast<std::uint32_t>(m_edges.size());
            Add(node, m_evidence[node] > 0 ? source : sink, std::max(0, -m_evidence[node]));
        }
        first[count] = static_cast<std::uint32_t>(m_edges.size());
        for (const std::uint32_t end : {source, sink}) {
            for (std::uint32_t node = 0; node < count; ++node) {
                if ((m_evidence[node] > 0) != (end == source)) continue;
                const auto edge = static_cast<std::uint32_t>(m_edges.size());
                Add(end, node, std::max(0, m_evidence[node]));
                m_partner.resize(m_edges.size());
                m_partner[edge] = terminal[node];
                m_partner[terminal[node]] = edge;
            }
        }
        PairNeighbours(first);
    }

    void PairNeighbours(const std::vector<std::uint32_t>& first)
    {
        for (std::uint32_t node = 0; node + 1 < first.size(); ++node) {
            const auto [x, y] = m_pixels[node];
            std::uint32_t edge = first[node];
            for (std::size_t k = 0; k < kAround; ++k) {
                const std::uint32_t other = FreeNeighbour(x, y, k);
                if (other == kNone) continue;
                m_partner[edge++] = first[other] + FreeBefore(other, Opposite(k));
            }
        }
    }

    std::uint32_t FreeNeighbour(int x, int y, std::size_t k) const
    {
        const int u = x + kNeighbours[k].dx, v = y + kNeighbours[k].dy;
        return m_node.Holds(u, v) ? m_node.At(u, v) : kNone;
    }

    std::uint32_t FreeBefore(std::uint32_t node, std::size_t k) const
    {
        const auto [x, y] = m_pixels[node];
        std::uint32_t before = 0;
        for (std::size_t i = 0; i < k; ++i) before += FreeNeighbour(x, y, i) != kNone;
        return before;
    }

    void Add(std::uint32_t from, std::uint32_t to, std::int32_t capacity)
    {
        m_edges.emplace_back(from, to);
        m_capacity.push_back(capacity);
    }

    const Plane<Known>& m_known;
    Plane<std::uint32_t> m_node;
    BorderPrice m_price;
    std::vector<Pixel> m_pixels;
    std::vector<std::int32_t> m_evidence;  // by node; above 0 for the subject
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_edges;
    std::vector<std::int32_t> m_capacity;
    std::vector<std::uint32_t> m_partner;
};

}  // namespace

Mask Cut(const Image& image, const Plane<Known>& known, const Plane<float>& favour, float smooth)
{
    return Network{image, known, favour, smooth}.Solve();
}

}  // namespace segmatte
