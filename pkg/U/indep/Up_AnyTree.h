// The nodes beneath the wrapper, and the only place where children come to be. A node is a property tree with a
// container of our own for its children.
#ifndef UP_ANYTREE_H
#define UP_ANYTREE_H

#include <boost/property_tree/ptree.hpp>
#include <memory>

#include "U_AnyTree.h"

using Up_Tree = boost::property_tree::basic_ptree<U_UTF16String, U_Any>;

// What a node keeps its children in: in their order, and by their keys.
struct Up_ByKey {};
using Up_Children = boost::multi_index_container<
    Up_Tree::value_type,
    boost::multi_index::indexed_by<
        boost::multi_index::sequenced<>,
        boost::multi_index::ordered_non_unique<
            boost::multi_index::tag<Up_ByKey>,
            boost::multi_index::member<Up_Tree::value_type, const Up_Tree::key_type,
                                       &Up_Tree::value_type::first>,
            Up_Tree::key_compare>>,
    zvkcore::allocator::RecyclingAllocator<Up_Tree::value_type>>;

// A type whose objects live on recycled memory.
template <class Base>
struct Up_Recycled : Base {
    static void* operator new(std::size_t size) { return zvkcore::allocator::AllocateContainerBlock(size); }
    static void operator delete(void* block, std::size_t size)
    {
        zvkcore::allocator::DisposeContainerBlock(block, size);
    }
};

// The container as a node holds it: made with the first child, for most nodes are leaves, and a container
// without children takes two blocks and more room than the node itself. An empty node shows an empty container
// that all nodes of all threads share: it is read and never written to, so the iterators of an empty node end
// with its first child. Once made, a node's own container stays, also when its last child goes.
class Up_LateChildren {
  public:
    using iterator = Up_Children::iterator;
    using const_iterator = Up_Children::const_iterator;
    using by_name_index = Up_Children::index<Up_ByKey>::type;

    bool empty() const { return size() == 0; }
    std::size_t size() const { return m_made ? m_made->size() : 0; }
    iterator begin() const { return Shown().begin(); }
    iterator end() const { return Shown().end(); }
    const Up_Tree::value_type& back() const { return Shown().back(); }
    by_name_index& by_name() const { return Shown().get<Up_ByKey>(); }
    template <int N>
    iterator project(by_name_index::iterator place) const
    {
        return Shown().project<N>(place);
    }

    template <class It>
    void insert(iterator where, It first, It last)
    {
        if (m_made) return m_made->insert(where, first, last);
        auto made = std::make_unique<Up_Recycled<Up_Children>>();
        made->insert(made->end(), first, last);
        m_made = std::move(made);
    }
    iterator erase(iterator where) { return m_made->erase(where); }

  private:
    Up_Children& Shown() const
    {
        static Up_Children& s_none = *new Up_Children;  // outlives every user, at exit too
        return m_made ? *m_made : s_none;
    }

    std::unique_ptr<Up_Recycled<Up_Children>> m_made;  // null until the first child
};

// The name by which the property tree knows the container of a node; it offers no other way in.
template <>
struct Up_Tree::subs {
    using base_container = Up_Recycled<Up_LateChildren>;
    using by_name_index = Up_LateChildren::by_name_index;

    static base_container& ch(self_type* node) { return *static_cast<base_container*>(node->m_children); }
    static const base_container& ch(const self_type* node)
    {
        return *static_cast<const base_container*>(node->m_children);
    }
    static by_name_index& assoc(self_type* node) { return ch(node).by_name(); }
    static const by_name_index& assoc(const self_type* node) { return ch(node).by_name(); }
};

/// Appends an empty child, null, and turns a null parent into a tree.
Up_Tree& Up_AppendChild(Up_Tree& parent, const U_UTF16String& key);

/// The same, and every older child with that key goes.
Up_Tree& Up_ReplaceChild(Up_Tree& parent, const U_UTF16String& key);

/// Appends copies of the children of `from`, which must not be a part of `to`.
void Up_CopyChildren(const Up_Tree& from, Up_Tree& to);

/// Makes a node one of tree type, whatever its own value was.
void Up_MarkAsTree(Up_Tree& node);

#endif
