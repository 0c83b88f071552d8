// The nodes beneath the wrapper, and the only place where children come to be.
#ifndef UP_ANYTREE_H
#define UP_ANYTREE_H

#include <boost/property_tree/ptree.hpp>

#include "U_AnyTree.h"

using Up_Tree = boost::property_tree::basic_ptree<U_UTF16String, U_Any>;

/// Appends an empty child, null, and turns a null parent into a tree.
Up_Tree& Up_AppendChild(Up_Tree& parent, const U_UTF16String& key);

/// The same, and every older child with that key goes.
Up_Tree& Up_ReplaceChild(Up_Tree& parent, const U_UTF16String& key);

/// Makes the copy of a tree what a child holds: a node of tree type.
void Up_MarkAsTree(Up_Tree& node);

#endif
