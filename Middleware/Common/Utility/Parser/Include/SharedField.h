// Access to a field of an object that may not exist, for the getters and setters of sets.

#pragma once

#include <memory>

/// The field of `object`, or `fallback` when there is no object.
template <typename Object, typename Field>
Field FieldOf(const std::shared_ptr<Object>& object, Field Object::*field, Field fallback) {
  return object != nullptr ? object.get()->*field : fallback;
}

/// Sets the field of `object` and returns 1; 0 when there is no object.
template <typename Object, typename Field>
int SetField(const std::shared_ptr<Object>& object, Field Object::*field, Field value) {
  if (object == nullptr)
    return 0;
  object.get()->*field = value;
  return 1;
}
