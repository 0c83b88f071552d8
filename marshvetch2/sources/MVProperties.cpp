// Property lists: a few records, each in one block with its data behind it, in the order in which they were added.
#include <cstring>

#include "MVp_Blocks.h"

struct MVPropertyNode {
    MVProperty property;  // the first: a node is found by the property that a caller holds
    MVPropertyNode* next;
};
static_assert(sizeof(MVPropertyNode) % 8 == 0, "the data behind a node is aligned to 8");

struct MVPropertyList {
    MVPropertyNode* first;
    MVPropertyNode* last;
};

Err MVAllocatePropertyList(MVPropertyList** list)
{
    if (!list) return MV_Err_PARAMETER;
    *list = mvNew<MVPropertyList>("a property list");
    return *list ? U_Err_NONE : U_Err_OUT_OF_MEMORY;
}

Err MVFreePropertyList(MVPropertyList* list)
{
    if (!list) return MV_Err_PARAMETER;
    for (MVPropertyNode *node = list->first, *next; node; node = next) {
        next = node->next;
        mvIntFreeBlock(node);
    }
    mvDelete(list);
    return U_Err_NONE;
}

Err MVAddProperty(MVPropertyList* list, int32_t vendor, int32_t key, int32_t id, const void* data,
                  uint32_t size)
{
    const MVProperty* known = nullptr;
    if (!list || (!data && size > 0)) return MV_Err_PARAMETER;
    MVFindProperty(list, vendor, key, id, &known);
    if (known) return MV_Err_PARAMETER;
    void* block = nullptr;
    const Err error = mvIntAllocateBlock(sizeof(MVPropertyNode) + uint64_t{size}, "a property", &block);
    if (error != U_Err_NONE) return error;
    auto* node = static_cast<MVPropertyNode*>(block);
    node->property = {vendor, key, id, size, node + 1};
    if (size > 0) std::memcpy(node + 1, data, size);
    (list->last ? list->last->next : list->first) = node;
    list->last = node;
    return U_Err_NONE;
}

Err MVFindProperty(const MVPropertyList* list, int32_t vendor, int32_t key, int32_t id,
                   const MVProperty** property)
{
    if (!list || !property) return MV_Err_PARAMETER;
    *property = nullptr;
    for (const MVPropertyNode* node = list->first; node && !*property; node = node->next) {
        const MVProperty& one = node->property;
        if (one.key == key && one.vendor == vendor && one.id == id) *property = &one;
    }
    return U_Err_NONE;
}

Err MVNextProperty(const MVPropertyList* list, const MVProperty* former, const MVProperty** property)
{
    if (!list || !property) return MV_Err_PARAMETER;
    const MVPropertyNode* next = former ? reinterpret_cast<const MVPropertyNode*>(former)->next : list->first;
    *property = next ? &next->property : nullptr;
    return U_Err_NONE;
}
