// The nodes beneath the wrapper, and the only place where children come to be.
#ifndef UP_ANYTREE_H
#define UP_ANYTREE_H

#include <boost/property_tree/ptree.hpp>

#include "U_AnyTree.h"

using Up_Tree = boost::property_tree::basic_ptree<U_UTF16String, U_Any>;

// What a node keeps its children in is the property tree's own container, but on recycled memory: each node
// takes three blocks, with or without children, and most of the time that a tree is read or copied goes to
// getting them. `subs` is the name the property tree knows its container by; it offers no other way in.
template <>
struct Up_Tree::subs {
    struct by_name {};

    using Children = boost::multi_index_container<
        value_type,
        boost::multi_index::indexed_by<
            boost::multi_index::sequenced<>,
            boost::multi_index::ordered_non_unique<
                boost::multi_index::tag<by_name>,
                boost::multi_index::member<value_type, const key_type, &value_type::first>, key_compare>>,
        zvkcore::allocator::RecyclingAllocator<value_type>>;

    struct base_container : Children {
        static void* operator new(std::size_t size)
        {
            return zvkcore::allocator::AllocateContainerBlock(size);
        }
        static void operator delete(void* block, std::size_t size)
        {
            zvkcore::allocator::DisposeContainerBlock(block, size);
        }
    };

    using by_name_index = base_container::index<by_name>::type;

    static base_container& ch(self_type* node) { return *static_cast<base_container*>(node->m_children); }
    static const base_container& ch(const self_type* node)
    {
        return *static_cast<const base_container*>(node->m_children);
    }
    static by_name_index& assoc(self_type* node) { return ch(node).get<by_name>(); }
    static const by_name_index& assoc(const self_type* node) { return ch(node).get<by_name>(); }
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
