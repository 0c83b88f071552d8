#include "zlexp_HashTable.h"

namespace zlex_private {

void HashTable::Merge(HashTable&& other)
{
    m_texts.reserve(m_texts.size() + other.m_texts.size());  // so that nothing below fails
    while (!other.m_texts.empty()) {
        auto node = other.m_texts.extract(other.m_texts.begin());
        const auto row = m_texts.find(node.key());
        if (row == m_texts.end()) {
            m_texts.insert(std::move(node));
        } else {
            row->second.swap(node.mapped());
        }
    }
}

}  // namespace zlex_private
