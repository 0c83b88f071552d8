// The tree: shape, reading, writing and visiting of nodes. A wrapper is a pointer to a node and knows whether
// the node is its own. Paths are followed here and not by the property tree, whose own paths refuse a point
// at the end and cannot print a 16-bit key.
#include "U_AnyTree.h"

#include <algorithm>

#include "U_String.h"
#include "Up_Any.h"
#include "Up_AnyTree.h"
#include "zvkcore/string/Convert.h"

namespace {

using zvkcore::string::literals::operator""_u16;
using zvkcore::string::literals::operator""_utf8;

const unsigned short kSeparator = '.';

std::string Narrow(const U_UTF16String& text)
{
    const U_UTF8String utf8 = zvkcore::string::UTF16to8(text);
    return std::string(zvkcore::string::View(utf8));
}

const Up_Tree* FindChild(const Up_Tree& node, const U_UTF16String& key)
{
    const auto found = node.find(key);
    return found == node.not_found() ? nullptr : &found->second;
}

std::vector<U_UTF16String> Split(const U_UTF16String& key, unsigned short separator)
{
    std::vector<U_UTF16String> steps;
    U_SplitStringT(key, U_UTF16String(1, separator), steps);
    return steps;
}

}  // namespace

// A child is made in place from its parts: `push_back` would copy a node, with the allocations of an empty
// one.
static Up_Tree& Append(Up_Tree& parent, const U_UTF16String& key, const U_Any& value)
{
    const std::pair<const U_UTF16String&, const U_Any&> child{key, value};
    parent.insert(parent.end(), &child, &child + 1);
    return parent.back().second;
}

Up_Tree& Up_AppendChild(Up_Tree& parent, const U_UTF16String& key)
{
    Up_Tree& child = Append(parent, key, U_Any());
    if (parent.data().GetType() == U_Any::Type_NULL) Up_MarkAsTree(parent);
    return child;
}

// Texts are often written in the order of their keys, and this is one comparison.
static bool IsBehindAll(const Up_Tree& parent, const U_UTF16String& key)
{
    return parent.empty() || std::prev(parent.not_found())->first < key;
}

Up_Tree& Up_ReplaceChild(Up_Tree& parent, const U_UTF16String& key)
{
    const bool isNew = IsBehindAll(parent, key) || parent.find(key) == parent.not_found();
    Up_Tree& child = Up_AppendChild(parent, key);
    if (isNew) return child;
    // Children of one key stand in the order of their making, so the new one is the last.
    for (auto [at, end] = parent.equal_range(key); std::next(at) != end;)
        parent.erase(parent.to_iterator(at++));
    return child;
}

// Node by node in their order: the property tree's own copy sorts what is sorted already.
void Up_CopyChildren(const Up_Tree& from, Up_Tree& to)
{
    for (const auto& [key, node] : from) {
        Up_Tree& copy = Append(to, key, node.data());
        if (!node.empty()) Up_CopyChildren(node, copy);
    }
}

void Up_MarkAsTree(Up_Tree& node)
{
    node.data() = U_Any(U_Any::Type_TREE);
}

U_AnyTreeKey::U_AnyTreeKey(const U_UTF8String& key) : m_made(zvkcore::string::UTF8to16(key)), m_key(&m_made)
{
}

U_AnyTreeKey::U_AnyTreeKey(const unsigned char* key)
    : m_made(key ? zvkcore::string::UTF8to16(zvkcore::string::UTF8View(key)) : U_UTF16String()),
      m_key(&m_made)
{
}

U_AnyTreeKey::U_AnyTreeKey(const char* key) : m_made(U_MBToUTF16String(key)), m_key(&m_made) {}

// --- Life --------------------------------------------------------------------------------------------------

U_AnyTreeWrapper::U_AnyTreeWrapper() : m_tree(new Tree), m_owns(true) {}

U_AnyTreeWrapper::U_AnyTreeWrapper(const U_AnyTreeWrapper& other) : U_AnyTreeWrapper()
{
    m_tree->data() = other.m_tree->data();
    Up_CopyChildren(*other.m_tree, *m_tree);
}

U_AnyTreeWrapper::U_AnyTreeWrapper(U_AnyTreeWrapper&& other) noexcept
    : m_tree(std::exchange(other.m_tree, nullptr)), m_owns(std::exchange(other.m_owns, true))
{
}

U_AnyTreeWrapper& U_AnyTreeWrapper::operator=(U_AnyTreeWrapper other)
{
    // What is assigned may be a part of this tree, or the other way round: nothing is replaced before it is
    // copied.
    if (!other.m_owns) return *this = U_AnyTreeWrapper(std::as_const(other));
    if (m_owns) {
        std::swap(m_tree, other.m_tree);
    } else {
        m_tree->swap(*other.m_tree);
        if (m_tree->data().GetType() == U_Any::Type_NULL) Up_MarkAsTree(*m_tree);
    }
    return *this;
}

U_AnyTreeWrapper::~U_AnyTreeWrapper()
{
    if (m_owns) delete m_tree;
}

// --- Shape -------------------------------------------------------------------------------------------------

bool U_AnyTreeWrapper::empty() const
{
    return m_tree->empty();
}

std::size_t U_AnyTreeWrapper::size() const
{
    return m_tree->size();
}

bool U_AnyTreeWrapper::is_array() const
{
    return m_tree->count(U_UTF16String()) == size();
}

bool U_AnyTreeWrapper::is_map() const
{
    return empty() || !is_array();
}

const U_AnyTreeWrapper& U_AnyTreeWrapper::valid_array() const
{
    array_validator(*this);
    return *this;
}

const U_AnyTreeWrapper& U_AnyTreeWrapper::valid_map() const
{
    map_validator(*this);
    return *this;
}

// --- Reading -----------------------------------------------------------------------------------------------

bool U_AnyTreeWrapper::exists(const U_AnyTreeKey& key) const
{
    return FindChild(*m_tree, key.str()) != nullptr;
}

const U_AnyTreeWrapper::Tree& U_AnyTreeWrapper::ThrowIfKeyNotFound(const U_UTF16String& key) const
{
    const Tree* child = FindChild(*m_tree, key);
    if (!child) ThrowBadKey(key);
    return *child;
}

// Wanted: the key must name a direct child even where it is then followed as a path.
U_AnyTreeWrapper::Tree& U_AnyTreeWrapper::ChildNode(const U_UTF16String& key) const
{
    const Tree* node = &ThrowIfKeyNotFound(key);
    if (key.find(kSeparator) != U_UTF16String::npos) {
        node = m_tree;
        for (const U_UTF16String& step : Split(key, kSeparator)) {
            node = FindChild(*node, step);
            if (!node) {
                throw boost::property_tree::ptree_bad_path("No such node",
                                                           boost::property_tree::path(Narrow(key)));
            }
        }
    }
    return const_cast<Tree&>(*node);  // who asked a const tree gets a const wrapper
}

const U_Any& U_AnyTreeWrapper::ChildValue(const U_UTF16String& key) const
{
    return ChildNode(key).data();
}

U_Any U_AnyTreeWrapper::get_child_any(const U_AnyTreeKey& key) const
{
    return ChildValue(key.str());
}

U_AnyTreeWrapper U_AnyTreeWrapper::get_child_tree(const U_AnyTreeKey& key)
{
    return U_AnyTreeWrapper(ChildNode(key.str()));
}

const U_AnyTreeWrapper U_AnyTreeWrapper::get_child_tree(const U_AnyTreeKey& key) const
{
    return U_AnyTreeWrapper(ChildNode(key.str()));
}

U_AnyTreeWrapper U_AnyTreeWrapper::get_child_array(const U_AnyTreeKey& key)
{
    U_AnyTreeWrapper child = get_child_tree(key);
    array_validator(child);
    return child;
}

const U_AnyTreeWrapper U_AnyTreeWrapper::get_child_array(const U_AnyTreeKey& key) const
{
    U_AnyTreeWrapper child(ChildNode(key.str()));
    array_validator(child);
    return child;
}

U_AnyTreeWrapper::Pairs U_AnyTreeWrapper::get_array_pairs(const U_AnyTreeKey& key) const
{
    return get_child_array(key).pairs();
}

const U_Any& U_AnyTreeWrapper::get_self() const
{
    return m_tree->data();
}

U_AnyTreeWrapper::Keys U_AnyTreeWrapper::split_and_reverse_p(const U_UTF16String& key,
                                                             unsigned short separator)
{
    Keys steps = Split(key, separator);
    std::reverse(steps.begin(), steps.end());
    return steps;
}

// --- Writing -----------------------------------------------------------------------------------------------

// The node at the end of a path; what is missing is made. With less memory than that, nothing is.
U_AnyTreeWrapper::Tree& U_AnyTreeWrapper::MakePath(const U_UTF16String& key)
{
    const Keys steps = Split(key, kSeparator);
    if (steps.size() > kMaxDepth) throw boost::bad_any_cast();
    Tree* node = m_tree;
    auto step = steps.begin();
    for (; step != steps.end(); ++step) {
        const Tree* child = FindChild(*node, *step);
        if (!child) break;
        node = const_cast<Tree*>(child);
    }
    if (step == steps.end()) return *node;

    Tree missing;
    Tree* last = nullptr;
    for (auto below = std::next(step); below != steps.end(); ++below) {
        last = &Up_AppendChild(last ? *last : missing, *below);
    }
    Tree& made = Up_AppendChild(*node, *step);
    made.swap(missing);
    return last ? *last : made;
}

// Content is swapped into its place, after everything that can fail.
void U_AnyTreeWrapper::PutTree(const U_UTF16String& key, Tree& content)
{
    const bool isPath = key.find(kSeparator) != U_UTF16String::npos;
    (isPath ? MakePath(key) : Up_ReplaceChild(*m_tree, key)).swap(content);
}

void U_AnyTreeWrapper::PutValue(const U_UTF16String& key, U_Any& value)
{
    const bool isPath = key.find(kSeparator) != U_UTF16String::npos;
    std::swap((isPath ? MakePath(key) : Up_ReplaceChild(*m_tree, key)).data(), value);
}

void U_AnyTreeWrapper::put(const U_AnyTreeKey& key, const U_Any& value)
{
    if (const auto* held = Up_Held<U_AnyTreeWrapper>(value.GetBoostAny())) return put(key.str(), *held);
    U_Any copy(value);
    PutValue(key.str(), copy);
}

void U_AnyTreeWrapper::put(const U_AnyTreeKey& key, const U_AnyTreeWrapper& tree)
{
    Tree copy{U_Any(U_Any::Type_TREE)};
    Up_CopyChildren(*tree.m_tree, copy);
    PutTree(key.str(), copy);
}

void U_AnyTreeWrapper::put(const U_Any& value)
{
    push_back(U_UTF16String(), value);
}

void U_AnyTreeWrapper::put(const U_AnyTreeWrapper& tree)
{
    push_back(U_UTF16String(), tree);
}

void U_AnyTreeWrapper::push_back(const U_AnyTreeKey& key, const U_Any& value)
{
    if (const auto* held = Up_Held<U_AnyTreeWrapper>(value.GetBoostAny())) return push_back(key.str(), *held);
    U_Any copy(value);
    Up_AppendChild(*m_tree, key.str()).data() = std::move(copy);
}

void U_AnyTreeWrapper::push_back(const U_AnyTreeKey& key, const U_AnyTreeWrapper& tree)
{
    Tree copy{U_Any(U_Any::Type_TREE)};
    Up_CopyChildren(*tree.m_tree, copy);
    Up_AppendChild(*m_tree, key.str()).swap(copy);
}

void U_AnyTreeWrapper::put_self(const U_Any& value)
{
    m_tree->data() = value;
}

void U_AnyTreeWrapper::erase(const U_AnyTreeKey& key)
{
    m_tree->erase(key.str());
}

// --- Visiting ----------------------------------------------------------------------------------------------

void U_AnyTreeWrapper::for_each(const Visitor& visitor, int depth) const
{
    for (auto& [key, node] : *m_tree) {
        const U_AnyTreeWrapper child(node);
        if (visitor(depth, key, node.data(), child) && !child.empty()) child.for_each(visitor, depth + 1);
    }
}

U_AnyTreeWrapper::Pairs U_AnyTreeWrapper::pairs() const
{
    Pairs found;
    for (const auto& [key, node] : *m_tree) found.emplace_back(key, node.data());
    return found;
}

std::vector<U_UTF16String> U_AnyTreeWrapper::keys() const
{
    std::vector<U_UTF16String> found;
    for (const auto& [key, node] : *m_tree) found.push_back(key);
    return found;
}

std::vector<U_Any> U_AnyTreeWrapper::values() const
{
    std::vector<U_Any> found;
    for (const auto& [key, node] : *m_tree) found.push_back(node.data());
    return found;
}

U_UTF8String U_AnyTreeWrapper::keys_as_json() const
{
    U_UTF8String text = "[\""_utf8;
    const char* joint = "";
    for (const auto& [key, node] : *m_tree) {
        text.append(zvkcore::string::Units(std::string_view(joint)));
        text.append(zvkcore::string::UTF16to8(key));
        joint = "\", \"";
    }
    return text + "\"]"_utf8;
}

U_AnyTreeWrapper U_AnyTreeWrapper::CreateReverseMapping() const
{
    U_AnyTreeWrapper reversed;
    for_each([&](int, const U_UTF16String& key, const U_Any& value, const U_AnyTreeWrapper&) {
        U_Any name(key);
        reversed.PutValue(value.GetAs_Str(), name);
        return true;
    });
    return reversed;
}
