/// The bytes of a property section (MVPropertySection.h), checked and taken into a property list.
#ifndef MVP_PROPERTYSECTION_H
#define MVP_PROPERTYSECTION_H

#include <span>

#include "MV.h"

using MVSectionBytes = std::span<const unsigned char>;

/// Adds the properties of a section to `list`. Believes nothing: every count and length is held against the bytes
/// that are there.
///
/// returns  null; otherwise why the bytes are no property list, in words, and then `list` holds those properties
///          that were read before
/// throws   std::bad_alloc
const char* mvReadPropertySection(MVSectionBytes section, MVPropertyList* list);

#endif
