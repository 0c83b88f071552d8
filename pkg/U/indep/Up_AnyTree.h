// The nodes beneath the wrapper, and the only place where children come to be.
#ifndef UP_ANYTREE_H
#define UP_ANYTREE_H

#include <boost/property_tree/ptree.hpp>
#include <memory>

#include "U_AnyTree.h"

using Up_Tree = boost::property_tree::basic_ptree<U_UTF16String, U_Any>;

// What a node keeps its children in is the property tree's own container, but on recycled memory and made with
// the first child: most nodes are leaves, and a container without children takes two blocks and more room than
// the node itself. `subs` is the name the property tree knows its container by; it offers no other way in.
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
    using by_name_index = Children::index<by_name>::type;

    template <class Base>
    struct Recycled : Base {
        using Base::Base;
        static void* operator new(std::size_t size)
        {
            return zvkcore::allocator::AllocateContainerBlock(size);
        }
        static void operator delete(void* block, std::size_t size)
        {
            zvkcore::allocator::DisposeContainerBlock(block, size);
        }
    };

    // The face of the container that the property tree calls. Places of an empty one are places of a container
    // that all nodes share and nobody writes to, so they end with the first insertion.
    class LateChildren {
      public:
        using iterator = Children::iterator;
        using const_iterator = Children::const_iterator;

        LateChildren() = default;
        LateChildren(const LateChildren& other)
            : m_made(other.m_made ? std::make_unique<Recycled<Children>>(*other.m_made) : nullptr)
        {
        }

        bool empty() const { return size() == 0; }
        std::size_t size() const { return m_made ? m_made->size() : 0; }
        iterator begin() const { return Now().begin(); }
        iterator end() const { return Now().end(); }
        const value_type& back() const { return Now().back(); }
        template <int N, class Place>
        iterator project(Place place) const
        {
            return Now().project<N>(place);
        }
        by_name_index& by_name_order() const { return Now().get<by_name>(); }

        template <class It>
        void insert(iterator where, It first, It last)
        {
            if (m_made) return m_made->insert(where, first, last);
            auto made = std::make_unique<Recycled<Children>>();
            made->insert(made->end(), first, last);
            m_made = std::move(made);
        }
        iterator erase(iterator where) { return m_made->erase(where); }

      private:
        Children& Now() const
        {
            static Children& s_none = *new Children;  // outlives every user, at exit too
            return m_made ? *m_made : s_none;
        }

        std::unique_ptr<Recycled<Children>> m_made;
    };
    using base_container = Recycled<LateChildren>;

    static base_container& ch(self_type* node) { return *static_cast<base_container*>(node->m_children); }
    static const base_container& ch(const self_type* node)
    {
        return *static_cast<const base_container*>(node->m_children);
    }
    static by_name_index& assoc(self_type* node) { return ch(node).by_name_order(); }
    static const by_name_index& assoc(const self_type* node) { return ch(node).by_name_order(); }
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
