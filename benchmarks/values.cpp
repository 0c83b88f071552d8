// Trees of leaves in groups, written as JSON, read, searched and copied, beside Boost.PropertyTree, which
// holds every value as a string; and the copy of one value beside boost::any. Text is UTF-8 on both sides, so
// ours converts. The last rows set a hundred small trees against one that is a hundred times as large: what
// grows with the size shows there.
#include <U_AnyTree.h>

#include <boost/any.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "Ratio.h"
#include "zvkcore/string/UTFString.h"

namespace {

namespace pt = boost::property_tree;
using zvkcore::string::Units;
using zvkcore::string::View;

void Require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "ours and the peer disagree: %s\n", what);
    std::exit(1);
}

std::string Path(int group, int item, int value)
{
    return "group" + std::to_string(group) + ".item" + std::to_string(item) + ".value" +
           std::to_string(value);
}

// Ten leaves a group, one group for each pair of numbers up to `side`.
U_AnyTreeWrapper MakeTree(int side)
{
    U_AnyTreeWrapper tree;
    for (int g = 0; g < side; ++g) {
        for (int h = 0; h < side; ++h) {
            for (int i = 0; i < 10; ++i) {
                const U_Any leaves[] = {g * 100 + h, g + h / 8.0, (h & 1) != 0,
                                        "name of " + std::to_string(i)};
                tree.put(Path(g, h, i).c_str(), leaves[i % 4]);
            }
        }
    }
    return tree;
}

struct Sample {
    explicit Sample(int side) : tree(MakeTree(side)), text(tree.GetAs_JSON8()), bytes(View(text))
    {
        std::istringstream in(bytes);
        pt::read_json(in, peer);
        U_AnyTreeWrapper read;
        read.SetFrom_JSON(text);
        Require(read.GetAs_JSON8() == text, "reading what was written");
        for (int i = 0; i < 10; ++i) {
            const std::string path = Path(side - 1, i % side, i);
            Require(read.get<std::string>(path.c_str()) == peer.get<std::string>(path), path.c_str());
        }
    }

    U_AnyTreeWrapper tree;
    U_UTF8String text;
    std::string bytes;
    pt::ptree peer;
};
using Shared = std::shared_ptr<const Sample>;

template <class Function>
qlbench::Body Loop(Function function)
{
    return [function](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(function());
    };
}

size_t Write(const Sample& sample)
{
    return sample.tree.GetAs_JSON8().size();
}

size_t Read(const Sample& sample)
{
    U_AnyTreeWrapper tree;
    tree.SetFrom_JSON(sample.text);
    return tree.size();
}

size_t Copy(const Sample& sample)
{
    return U_AnyTreeWrapper(sample.tree).size();
}

template <class Function>
auto HundredTimes(Function function, Shared sample)
{
    return [=] {
        size_t sum = 0;
        for (int i = 0; i < 100; ++i) sum += function(*sample);
        return sum;
    };
}

void TreeRows(const std::string& size, Shared sample)
{
    qlbench::Pair("write " + size + " / ptree write_json", 0.8, Loop([=] { return Write(*sample); }),
                  Loop([=] {
                      std::ostringstream out;
                      pt::write_json(out, sample->peer, false);
                      return out.str().size();
                  }));
    qlbench::Pair("read " + size + " / ptree read_json", 0.5, Loop([=] { return Read(*sample); }), Loop([=] {
                      pt::ptree tree;
                      std::istringstream in(sample->bytes);
                      pt::read_json(in, tree);
                      return tree.size();
                  }));
    qlbench::Pair("copy " + size + " / ptree", 1.1, Loop([=] { return Copy(*sample); }),
                  Loop([=] { return pt::ptree(sample->peer).size(); }));
}

void ValueRows(Shared sample)
{
    qlbench::Pair("get over three steps / ptree get<int>", 1.2,
                  Loop([=] { return sample->tree.get<int>("group7.item7.value4"); }),
                  Loop([=] { return sample->peer.get<int>("group7.item7.value4"); }));
    qlbench::Pair("failing get over three steps / ptree", 0, Loop([=] {
                      try {
                          return sample->tree.get<int>("group7.item7.nothing");
                      } catch (const bad_uanytree_key&) {
                          return -1;
                      }
                  }),
                  Loop([=] {
                      try {
                          return sample->peer.get<int>("group7.item7.nothing");
                      } catch (const pt::ptree_bad_path&) {
                          return -1;
                      }
                  }));
    const U_Any ours(7LL);
    const boost::any peer(7LL);
    qlbench::Pair("copy of an integer value / boost::any", 1.2, Loop([=] { return U_Any(ours).GetAs_int(); }),
                  Loop([=] { return boost::any_cast<long long>(boost::any(peer)); }));
}

}  // namespace

int main(int argc, char** argv)
{
    const auto small = std::make_shared<const Sample>(10);
    const auto large = std::make_shared<const Sample>(100);
    TreeRows("1,000 leaves", small);
    TreeRows("100,000 leaves", large);
    ValueRows(small);
    qlbench::Pair("write 100,000 leaves / 100 times 1,000", 0, Loop([=] { return Write(*large); }),
                  Loop(HundredTimes(Write, small)));
    qlbench::Pair("read 100,000 leaves / 100 times 1,000", 0, Loop([=] { return Read(*large); }),
                  Loop(HundredTimes(Read, small)));
    return qlbench::Main(argc, argv);
}
