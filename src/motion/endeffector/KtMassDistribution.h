#pragma once

#include <cstddef>

#include "manipulator/KtIndividualManipulator.h"
#include "manipulator/KtManipulatorActiveState.h"
#include "math/ReArray.h"

// A manipulator seen as the bodies that carry its mass: its base and each of its links that
// has mass. The centre-of-mass and momentum end effectors build on it.
class KtMassDistribution {
 public:
  // Calls visit(link, centre) for the base and every link with mass, with the body's centre of
  // mass in system coordinates.
  template <typename Visit>
  static void forEachBody(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                          Visit&& visit) {
    const auto body = [&](const KtManipulatorLink& link) {
      const KtMassProperties& mass = link.massProperties();
      if (!mass.isMassless()) visit(link, link.primaryFrameInSystem(state) * mass.centerOfMass());
    };
    body(manipulator);
    for (std::size_t i = 0; i < manipulator.jointDof(); ++i) body(manipulator.link(i));
  }

  // The total mass; `center` becomes the centre of mass (system coordinates), or the origin
  // when there is no mass.
  static KtReal centerOfMass(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                             Kt::Vector& center);

  // Velocity and velocity-product acceleration of the centre of mass (system axes); with a
  // reference link, less those of the point fixed to the reference link at the centre's place.
  // False (outputs unchanged) when there is no mass.
  static bool centerOfMassMotion(const KtIndividualManipulator& manipulator, KtManipulatorActiveState& state,
                                 const KtManipulatorLink* reference, Kt::Vector& velocity,
                                 Kt::Vector& acceleration);

  // Sets rows firstRow..firstRow+rowCount-1 of `matrix` to zero in columns 0..columnCount-1.
  static void clearBlock(Kt::ReArray& matrix, std::size_t firstRow, std::size_t rowCount,
                         std::size_t columnCount) {
    for (std::size_t r = firstRow; r < firstRow + rowCount; ++r)
      for (std::size_t c = 0; c < columnCount; ++c) matrix[r][c] = 0.0;
  }
};
