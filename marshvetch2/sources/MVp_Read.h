/// The readers and writers of single fields, which all are the same function but for the field.
#ifndef MVP_READ_H
#define MVP_READ_H

#include "MV.h"

template <class Object, class Field, class Value>
Err mvRead(const Object* object, Field Object::*field, Value* value)
{
    if (!object || !value) return MV_Err_PARAMETER;
    *value = object->*field;
    return U_Err_NONE;
}

template <class Object, class Field>
Err mvWrite(Object* object, Field Object::*field, Field value)
{
    if (!object) return MV_Err_PARAMETER;
    object->*field = value;
    return U_Err_NONE;
}

#endif
