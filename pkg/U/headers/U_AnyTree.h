/// Structured data: a node has a `U_Any` of its own and an ordered list of named children.
///
///     U_AnyTreeWrapper job;
///     job.put("clip.frames", 60);                        // makes "clip" on the way
///     job.put("tint", U_ColorRGBA{1, 0.5f, 0, 1});
///     job.get<int>("clip.frames");                       // 60
///     job.GetAs_JSON8();                                 // {"clip":{"frames":60},"tint":{"color-red":...}}
///
/// A node whose children all have the empty key is an array, anything else is a map; a node without children
/// is both. Trees describe menus, requests and settings, not bulk data: a child is copied when it is put.
///
/// Keys. Every function that takes a key takes 16-bit, UTF-8 and multibyte text, see `U_AnyTreeKey`. A point
/// in a key separates the steps of a path in `put` and `get`, empty steps included: ".a" is the child "a" of
/// the child "". But `exists`, `erase`, `push_back` and the `with_child_` functions look for a direct child
/// with that very name, and so do, before they follow the path, the `get_child_` functions.
///
/// Failures are exceptions whose text names what was sought and what was there; the values' own are those of
/// U_Any.h. Except for the readers of JSON that say otherwise, an operation applies or leaves the tree as it
/// was.
///
/// No locks: a tree is used by one thread at a time.
#ifndef U_ANYTREE_H
#define U_ANYTREE_H

#include <boost/function.hpp>
#include <boost/property_tree/ptree_fwd.hpp>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "U_Any.h"
#include "U_ColorRGBA.h"
#include "U_Types.h"
#include "zvkcore/geom/Point.h"
#include "zvkcore/geom/Rect.h"

/// A key that was not found: `"x" not found in: ["a", "b"]`, with the keys of the node that was searched.
class U_EXPORT bad_uanytree_key : public std::runtime_error {
  public:
    explicit bad_uanytree_key(const std::string& text);
    ~bad_uanytree_key() override;
};

/// An array where a map was expected, or a map where an array was.
class U_EXPORT bad_uanytree_map : public std::runtime_error {
  public:
    explicit bad_uanytree_map(const std::string& text);
    ~bad_uanytree_map() override;
};

/// A value that a match function refused.
class U_EXPORT bad_uanytree_match : public std::runtime_error {
  public:
    explicit bad_uanytree_match(const std::string& text);
    ~bad_uanytree_match() override;
};

/// A text that the strict reader refused.
class U_EXPORT bad_uanytree_json : public std::runtime_error {
  public:
    bad_uanytree_json(const std::string& text, std::size_t position);
    ~bad_uanytree_json() override;

    /// Where the first fault is, in units of the text that was given: 16-bit units or bytes, from 0.
    std::size_t position() const { return m_position; }

  private:
    std::size_t m_position;
};

/// A key in any of its kinds, for the time of one call: nobody makes one by name. A 16-bit key is not copied.
class U_EXPORT U_AnyTreeKey {
  public:
    U_AnyTreeKey(const U_UTF16String& key) : m_key(&key) {}
    U_AnyTreeKey(const U_UTF8String& key);
    U_AnyTreeKey(const unsigned char* key);  ///< UTF-8; null is the empty key
    U_AnyTreeKey(const char* key);           ///< in the application text encoding; null is the empty key
    U_AnyTreeKey(const U_AnyTreeKey&) = delete;
    U_AnyTreeKey& operator=(const U_AnyTreeKey&) = delete;

    const U_UTF16String& str() const { return *m_key; }

  private:
    U_UTF16String m_made;
    const U_UTF16String* m_key;
};

class U_EXPORT U_AnyTreeWrapper {
  public:
    using Point = zvkcore::geom::PointT<float>;
    using Rect = zvkcore::geom::RectT<float>;
    using Pairs = std::vector<std::pair<U_UTF16String, U_Any>>;

    /// Gets the depth, the key, the value and the node of a child. True descends into the child.
    using Visitor = boost::function<bool(int, const U_UTF16String&, const U_Any&, const U_AnyTreeWrapper&)>;

    /// How deep a JSON text may nest, and how many steps a path that makes nodes may have.
    static constexpr int kMaxDepth = 1000;

    /// A tree of its own: a node with a null and no children.
    U_AnyTreeWrapper();

    /// A copy is a tree of its own, also of a wrapper that refers to a node of another tree.
    U_AnyTreeWrapper(const U_AnyTreeWrapper& other);

    /// `other` can only be assigned to or destroyed afterwards.
    U_AnyTreeWrapper(U_AnyTreeWrapper&& other) noexcept;

    /// Replaces the content of the node. If this refers to a node of another tree, it changes there, and a
    /// null becomes a tree.
    U_AnyTreeWrapper& operator=(U_AnyTreeWrapper other);
    ~U_AnyTreeWrapper();

    // --- Shape ---------------------------------------------------------------------------------------------

    bool empty() const;        ///< no children
    std::size_t size() const;  ///< how many children
    bool is_array() const;     ///< linear in the children
    bool is_map() const;

    /// This node.
    ///
    /// throws  `bad_uanytree_map`
    const U_AnyTreeWrapper& valid_array() const;
    const U_AnyTreeWrapper& valid_map() const;
    static void array_validator(const U_AnyTreeWrapper& tree);
    static void map_validator(const U_AnyTreeWrapper& tree);

    // --- Reading -------------------------------------------------------------------------------------------

    /// Whether there is a direct child with that very key; a point in it is a point. Never throws but for
    /// memory.
    bool exists(const U_AnyTreeKey& key) const;

    /// The child at the key. A key with a point must name a direct child and, as a path, lead somewhere too;
    /// what is read is where the path leads.
    ///
    /// throws  `bad_uanytree_key`; `boost::property_tree::ptree_bad_path`, "No such node", behind that first
    ///         check
    U_Any get_child_any(const U_AnyTreeKey& key) const;

    /// The wrapper refers to the node: changes made through it show here. It must not outlive the node.
    U_AnyTreeWrapper get_child_tree(const U_AnyTreeKey& key);
    const U_AnyTreeWrapper get_child_tree(const U_AnyTreeKey& key) const;

    /// The same, of an array.
    ///
    /// throws  `bad_uanytree_map` besides
    U_AnyTreeWrapper get_child_array(const U_AnyTreeKey& key);
    const U_AnyTreeWrapper get_child_array(const U_AnyTreeKey& key) const;

    /// Colours, points and rectangles, as `put` makes them. The components are cut to single precision.
    U_ColorRGBA get_child_color(const U_AnyTreeKey& key) const;
    Point get_child_point(const U_AnyTreeKey& key) const;
    Rect get_child_rect(const U_AnyTreeKey& key) const;

    /// The keys and values of the array at the key.
    Pairs get_array_pairs(const U_AnyTreeKey& key) const;

    /// The value at the end of a path, converted to T: bool, an integer or enumeration type (cut to its
    /// width), a floating type, `U_UTF16String`, `U_UTF8String`, `std::string` (multibyte), `U_Any`,
    /// `U_ColorRGBA`, `Point`, `Rect`, or `U_AnyTreeWrapper`, which refers to the node.
    ///
    /// throws  `bad_uanytree_key` that names the step that is missing and the keys that are there
    template <class T>
    requires(!std::same_as<T, U_AnyTreeWrapper>) T get(const U_AnyTreeKey& key)
    const { return get_from_reversed_keys_p<T>(split_and_reverse_p(key.str(), '.')); }
    template <std::same_as<U_AnyTreeWrapper> T>
    T get(const U_AnyTreeKey& key)
    {
        return get_from_reversed_keys_p<T>(split_and_reverse_p(key.str(), '.'));
    }
    template <std::same_as<U_AnyTreeWrapper> T>
    const T get(const U_AnyTreeKey& key) const
    {
        return get_from_reversed_keys_p<T>(split_and_reverse_p(key.str(), '.'));
    }

    /// The same, if `match(value)` is true.
    ///
    /// throws  `bad_uanytree_match` besides
    template <class T, class Match>
    T get_matching(const U_AnyTreeKey& key, Match&& match) const
    {
        T value = get<T>(key);
        if (!match(std::as_const(value))) ThrowBadMatch(key.str());
        return value;
    }

    /// The node's own value. It lives as long as the node, unchanged.
    const U_Any& get_self() const;

    // --- Writing -------------------------------------------------------------------------------------------

    /// Puts a child under a key without a point: every child with that key is removed and the new one is the
    /// last in the order, which so is the order of the last writes. A key with a point is a path: what is
    /// missing is made, and the value, or the tree, of the node at its end is set where it stands.
    ///
    /// A tree is copied. The node that holds it becomes a tree, whatever the tree's own value was; so does a
    /// null that gets children. Any other value that gets children stays what it is, and JSON then shows the
    /// value.
    ///
    /// throws  `boost::bad_any_cast` for a path of more than `kMaxDepth` steps
    void put(const U_AnyTreeKey& key, const U_Any& value);
    void put(const U_AnyTreeKey& key, const U_AnyTreeWrapper& tree);

    /// Puts a tree of the components: "color-red", "color-green", "color-blue", "color-alpha"; "pt-x",
    /// "pt-y"; "rect-left", "rect-top", "rect-width", "rect-height".
    void put(const U_AnyTreeKey& key, const U_ColorRGBA& color);
    void put(const U_AnyTreeKey& key, const Point& point);
    void put(const U_AnyTreeKey& key, const Rect& rect);

    /// Appends a child with the empty key, as arrays have them.
    void put(const U_Any& value);
    void put(const U_AnyTreeWrapper& tree);

    /// Appends a child even if there is one with that very key.
    void push_back(const U_AnyTreeKey& key, const U_Any& value);
    void push_back(const U_AnyTreeKey& key, const U_AnyTreeWrapper& tree);

    /// Puts unless `exists`.
    template <class Value>
    void or_put(const U_AnyTreeKey& key, const Value& value)
    {
        if (!exists(key)) put(key.str(), value);
    }

    /// Sets the node's own value.
    void put_self(const U_Any& value);

    /// Removes all direct children with that very key.
    void erase(const U_AnyTreeKey& key);

    // --- Visiting ------------------------------------------------------------------------------------------

    /// Calls the visitor for each child in order, with `depth`, and with one more a level below. It must not
    /// change the tree.
    void for_each(const Visitor& visitor, int depth = 0) const;

    Pairs pairs() const;
    std::vector<U_UTF16String> keys() const;
    std::vector<U_Any> values() const;

    /// The keys for a message: ["a", "b"]. Nothing is escaped, and no key at all is [""].
    U_UTF8String keys_as_json() const;

    /// Calls the function with the child at the key, or, if there is none, with an empty tree that is put
    /// under the key afterwards. The child is checked first. If the function throws, a new child is not put;
    /// an existing one keeps what was already written to it. The const form does nothing if there is no such
    /// child.
    ///
    /// throws  `bad_uanytree_map`; `boost::bad_function_call` for an empty function
    void with_child_map(const U_AnyTreeKey& key, const boost::function<void(U_AnyTreeWrapper&)>& function);
    void with_child_map(const U_AnyTreeKey& key,
                        const boost::function<void(const U_AnyTreeWrapper&)>& function) const;
    void with_child_array(const U_AnyTreeKey& key, const boost::function<void(U_AnyTreeWrapper&)>& function);
    void with_child_array(const U_AnyTreeKey& key,
                          const boost::function<void(const U_AnyTreeWrapper&)>& function) const;

    /// A tree with, for each node at any depth, the node's key as a string at the path that is the text of
    /// its value. It inverts a map of unique values.
    U_AnyTreeWrapper CreateReverseMapping() const;

    // --- JSON ----------------------------------------------------------------------------------------------

    /// The children as JSON, without blanks. The top level is written as a map even if it is an array; an
    /// empty child tree is written as "{}". What the text does not carry is told in the guide to values.
    ///
    /// throws  `boost::bad_any_cast` for nesting beyond `kMaxDepth`, for a key that begins with "mixed-" and
    ///         is no magic word, and for a value whose holder does not fit its type
    U_UTF16String GetAs_JSON() const;
    U_UTF8String GetAs_JSON8() const;

    /// Puts what the text holds into this tree; an empty text does nothing. The text is taken for one that
    /// `GetAs_JSON` wrote and is scanned, not checked: of `true`, `false` and `null` only the first character
    /// counts, what begins like nothing else is a number, a missing colon or bracket ends a map. A number with
    /// a point is a double and one without an integer, so 1e-5 is 0 and 1.0e-5 is not.
    ///
    /// throws  `boost::bad_any_cast` for a bad string, a bare magic word, a string that begins with "mixed-"
    ///         and is no magic word, and nesting beyond `kMaxDepth`, with the tree partly filled
    void SetFrom_JSON(const U_UTF16String& text);
    void SetFrom_JSON(const U_UTF8String& text);

    /// The same for texts in which mixed values stand as bare words, without quotes: each comes in as the
    /// integer 0 and is no longer mixed.
    void SetFrom_JSON_HackRecoverMagicMixed(const U_UTF16String& text);

    /// The same for texts from strangers: only a JSON object is read, and the tree is as it was if anything
    /// fails. All nodes are made anew: no wrapper that refers to one below this may be used afterwards.
    ///
    /// throws  `bad_uanytree_json` with the position of the first fault; `boost::bad_any_cast` as
    ///         `SetFrom_JSON` does
    void SetFrom_JSON_Strict(const U_UTF16String& text);
    void SetFrom_JSON_Strict(const U_UTF8String& text);

  private:
    using Tree = boost::property_tree::basic_ptree<U_UTF16String, U_Any>;
    using Keys = std::vector<U_UTF16String>;
    using Validator = void (*)(const U_AnyTreeWrapper&);
    using View = zvkcore::string::UTF16View;
    class JSONText;

    explicit U_AnyTreeWrapper(Tree& node) : m_tree(&node), m_owns(false) {}

    template <class Self, class Function>
    static void with_child_tree_p(Self& self, const U_UTF16String& key, Validator validator,
                                  const Function& function);

    static Keys split_and_reverse_p(const U_UTF16String& key, unsigned short separator);

    template <class T>
    T get_from_reversed_keys_p(Keys keys) const
    {
        if (keys.empty()) ThrowNoKeys();
        const U_UTF16String key = std::move(keys.back());
        keys.pop_back();
        if (keys.empty()) return ChildAs<T>(key);
        return get_child_tree(key).template get_from_reversed_keys_p<T>(std::move(keys));
    }

    template <class T>
    T ChildAs(const U_UTF16String& key) const
    {
        if constexpr (std::is_same_v<T, U_AnyTreeWrapper>) {
            return U_AnyTreeWrapper(ChildNode(key));
        } else if constexpr (std::is_same_v<T, U_ColorRGBA>) {
            return get_child_color(key);
        } else if constexpr (std::is_same_v<T, Point>) {
            return get_child_point(key);
        } else if constexpr (std::is_same_v<T, Rect>) {
            return get_child_rect(key);
        } else {
            return ValueAs<T>(ChildValue(key));
        }
    }

    template <class T>
    static T ValueAs(const U_Any& value)
    {
        if constexpr (std::is_same_v<T, U_UTF16String>) {
            return value.GetAs_Str();
        } else if constexpr (std::is_same_v<T, U_UTF8String>) {
            return value.GetAs_Str8();
        } else if constexpr (std::is_same_v<T, std::string>) {
            return value.GetAs_MBStr();
        } else if constexpr (std::is_same_v<T, bool>) {
            return value.GetAs_bool();
        } else if constexpr (std::is_enum_v<T>) {
            return static_cast<T>(value.GetAs_Enum());
        } else if constexpr (U_AnyInteger<T>) {
            return static_cast<T>(value.GetAs_int());
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(value.GetAs_double());
        } else {
            static_assert(std::is_same_v<T, U_Any>, "no value has this type");
            return value;
        }
    }

    Tree& ChildNode(const U_UTF16String& key) const;
    const U_Any& ChildValue(const U_UTF16String& key) const;

    Tree& MakePath(const U_UTF16String& key);
    void PutTree(const U_UTF16String& key, Tree& content);
    void PutValue(const U_UTF16String& key, U_Any& value);
    void SetFrom_JSON_p(JSONText& text, bool inArray, int depth);
    void ReadText(const U_UTF16String& text);
    void ReadWhole(const U_UTF16String& text);

    const Tree& ThrowIfKeyNotFound(const U_UTF16String& key) const;  // the direct child
    [[noreturn]] void ThrowBadKey(const U_UTF16String& key) const;
    [[noreturn]] static void ThrowNoKeys();
    [[noreturn]] static void ThrowBadMatch(const U_UTF16String& key);

    Tree* m_tree;  // null only after a move
    bool m_owns;
};

#endif
