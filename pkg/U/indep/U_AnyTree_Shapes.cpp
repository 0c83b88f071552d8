// Colours, points and rectangles as trees, and functions that are lent a child. A structure is a table of
// child keys and the places of its components.
#include <array>

#include "U_AnyTree.h"

namespace {

template <class Structure>
struct Component {
    const char* key;
    float Structure::*place;
};

template <class Structure>
constexpr std::array<Component<Structure>, 0> kComponents{};

template <>
constexpr std::array kComponents<U_ColorRGBA>{
    Component<U_ColorRGBA>{"color-red", &U_ColorRGBA::red},
    Component<U_ColorRGBA>{"color-green", &U_ColorRGBA::green},
    Component<U_ColorRGBA>{"color-blue", &U_ColorRGBA::blue},
    Component<U_ColorRGBA>{"color-alpha", &U_ColorRGBA::alpha},
};

using Point = U_AnyTreeWrapper::Point;
template <>
constexpr std::array kComponents<Point>{
    Component<Point>{"pt-x", &Point::x},
    Component<Point>{"pt-y", &Point::y},
};

using Rect = U_AnyTreeWrapper::Rect;
template <>
constexpr std::array kComponents<Rect>{
    Component<Rect>{"rect-left", &Rect::left},
    Component<Rect>{"rect-top", &Rect::top},
    Component<Rect>{"rect-width", &Rect::width},
    Component<Rect>{"rect-height", &Rect::height},
};

template <class Structure>
U_AnyTreeWrapper TreeOf(const Structure& structure)
{
    U_AnyTreeWrapper tree;
    for (const auto& component : kComponents<Structure>) {
        tree.put(component.key, static_cast<double>(structure.*component.place));
    }
    return tree;
}

template <class Structure>
Structure StructureOf(const U_AnyTreeWrapper& tree)
{
    Structure structure{};
    for (const auto& component : kComponents<Structure>) {
        structure.*component.place = static_cast<float>(tree.get_child_any(component.key).GetAs_double());
    }
    return structure;
}

}  // namespace

void U_AnyTreeWrapper::put(const U_AnyTreeKey& key, const U_ColorRGBA& color)
{
    put(key.str(), TreeOf(color));
}

void U_AnyTreeWrapper::put(const U_AnyTreeKey& key, const Point& point)
{
    put(key.str(), TreeOf(point));
}

void U_AnyTreeWrapper::put(const U_AnyTreeKey& key, const Rect& rect)
{
    put(key.str(), TreeOf(rect));
}

U_ColorRGBA U_AnyTreeWrapper::get_child_color(const U_AnyTreeKey& key) const
{
    return StructureOf<U_ColorRGBA>(get_child_tree(key.str()));
}

U_AnyTreeWrapper::Point U_AnyTreeWrapper::get_child_point(const U_AnyTreeKey& key) const
{
    return StructureOf<Point>(get_child_tree(key.str()));
}

U_AnyTreeWrapper::Rect U_AnyTreeWrapper::get_child_rect(const U_AnyTreeKey& key) const
{
    return StructureOf<Rect>(get_child_tree(key.str()));
}

// Of a const tree, a child that is not there is nobody's business; otherwise it is made, and kept once the
// function is through.
template <class Self, class Function>
void U_AnyTreeWrapper::with_child_tree_p(Self& self, const U_UTF16String& key, Validator validator,
                                         const Function& function)
{
    if (self.exists(key)) {
        auto&& child = self.get_child_tree(key);
        validator(child);
        function(child);
    } else if constexpr (!std::is_const_v<Self>) {
        U_AnyTreeWrapper made;
        validator(made);
        function(made);
        self.put(key, made);
    }
}

void U_AnyTreeWrapper::with_child_map(const U_AnyTreeKey& key,
                                      const boost::function<void(U_AnyTreeWrapper&)>& function)
{
    with_child_tree_p(*this, key.str(), map_validator, function);
}

void U_AnyTreeWrapper::with_child_map(const U_AnyTreeKey& key,
                                      const boost::function<void(const U_AnyTreeWrapper&)>& function) const
{
    with_child_tree_p(*this, key.str(), map_validator, function);
}

void U_AnyTreeWrapper::with_child_array(const U_AnyTreeKey& key,
                                        const boost::function<void(U_AnyTreeWrapper&)>& function)
{
    with_child_tree_p(*this, key.str(), array_validator, function);
}

void U_AnyTreeWrapper::with_child_array(const U_AnyTreeKey& key,
                                        const boost::function<void(const U_AnyTreeWrapper&)>& function) const
{
    with_child_tree_p(*this, key.str(), array_validator, function);
}
