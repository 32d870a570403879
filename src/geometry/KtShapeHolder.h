#pragma once

#include <memory>

#include "geometry/KtShape.h"

// Owns a copy of a shape and copies it with its owner, so that a class holding shapes keeps
// its ordinary value semantics.
class KtShapeHolder {
 public:
  explicit KtShapeHolder(const KtShape& shape) : m_shape(shape.clone()) {}
  KtShapeHolder(const KtShapeHolder& other) : m_shape(other.m_shape->clone()) {}
  KtShapeHolder& operator=(const KtShapeHolder& other) {
    if (this != &other) m_shape = other.m_shape->clone();
    return *this;
  }

  const KtShape& shape() const { return *m_shape; }

 private:
  std::unique_ptr<KtShape> m_shape;
};
