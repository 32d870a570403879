#pragma once

#include <cstdint>

#include "foundation/Types.h"
#include "manipulator/KtBaseExpressionTreeElement.h"
#include "manipulator/KtCoordinateSystemTransformation.h"
#include "manipulator/KtGeneralMotion.h"

// How a link's single joint value moves the link: the joint transformation from the parent's
// joint frame to the link's own joint frame, and the fixed primary frame that leads from the
// joint frame to the frame in which the link's shapes and mass are given.
//
// Parameters are changed only through setters, which advance the model revision so that
// frames cached from the old parameters are dropped. Assignment is therefore not offered:
// copy parameters through the setters.
class KtLinkKinematics : public KtBaseExpressionTreeElement {
 public:
  KtLinkKinematics() = default;
  KtLinkKinematics(const KtLinkKinematics&) = default;
  KtLinkKinematics& operator=(const KtLinkKinematics&) = delete;

  // Reading replaces parameters like the setters do.
  bool read(KtXmlReader& reader) override;

  const Kt::coordinateSystemTransformation& primaryFrame() const { return m_primaryFrame; }
  void setPrimaryFrame(const Kt::coordinateSystemTransformation& frame);

  // The joint transformation for joint value q, cached on q.
  virtual const Kt::coordinateSystemTransformation& dhTransform(KtReal q) const = 0;
  // Composes the joint transformation for q onto the outboard side of `result`, without
  // touching the cache.
  virtual void calculateTransform(Kt::coordinateSystemTransformation& result, KtReal q) const = 0;
  // The motion of the joint frame per unit joint rate, in the joint frame's own axes.
  virtual bool getUnitFrameMotion(KtGeneralMotion& motion) const = 0;
  // The acceleration of the joint frame (of its origin, and angular) in its own axes that the
  // joint rate alone causes when the joint does not accelerate.
  virtual bool accelerationFromJointVelocity(KtReal jointVelocity, KtGeneralMotion& acceleration) const = 0;
  // The power of a length scale factor by which the joint value scales with the model.
  virtual KtReal jointParameterScalability() const = 0;
  // An upper bound of the distance of the joint frame's origin from the parent frame's origin
  // for joint values of magnitude at most jointValueBound.
  virtual KtReal upperBoundDhFrameDistance(KtReal jointValueBound) const = 0;

  // How many times the joint transformation has been computed for the cache; lets callers
  // (and tests) see that unchanged joints are not recomputed.
  std::uint64_t transformComputations() const { return m_transformComputations; }

 protected:
  void registerComponents() override;
  // Notes a change of a parameter that the joint transformation depends on.
  virtual void parametersChanged();

  mutable std::uint64_t m_transformComputations = 0;

 private:
  KtCoordinateSystemTransformation m_primaryFrame;
};
