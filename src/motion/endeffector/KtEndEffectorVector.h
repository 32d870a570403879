#pragma once

#include <cstddef>
#include <memory>

#include "motion/endeffector/KtEndEffector.h"
#include "xml/KtXmlVariableVectorType.h"

// The end effectors of a set, in order, each written as the element of its own class
// (pointEndEffector, frameEndEffector, ...). Every class derived from KtEndEffector that is
// registered with the factory is taken, so a new kind of end effector needs no change here;
// anything else in the list is reported and skipped.
class KtEndEffectorVector
    : public KtXmlCloneable<KtEndEffectorVector, KtXmlVariableVectorType<KtEndEffector>> {
 public:
  const KtToken& elementToken() const override;

  // The entry now at `index` and those after it move up by one; index == size() appends.
  void insert(std::size_t index, std::unique_ptr<KtEndEffector> entry);
  void erase(std::size_t index);
  void replace(std::size_t index, std::unique_ptr<KtEndEffector> entry);
};
