#pragma once

#include <array>
#include <string_view>

#include "foundation/Types.h"
#include "math/Vector.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlCompoundType.h"
#include "xml/KtXmlDefaulted.h"
#include "xml/KtXmlFixedShape.h"
#include "xml/KtXmlVector.h"

// A symmetric 3x3 tensor (an inertia) by its six distinct entries.
struct KtSymmetricTensor {
  KtReal xx = 0.0, yy = 0.0, zz = 0.0, xy = 0.0, xz = 0.0, yz = 0.0;

  bool operator==(const KtSymmetricTensor&) const = default;
  Kt::Vector operator*(const Kt::Vector& v) const {
    return Kt::Vector(xx * v.x() + xy * v.y() + xz * v.z(), xy * v.x() + yy * v.y() + yz * v.z(),
                      xz * v.x() + yz * v.y() + zz * v.z());
  }
  // The second moment of a point mass m at p about the origin: m (|p|² E − p pᵀ).
  static KtSymmetricTensor ofPointMass(KtReal m, const Kt::Vector& p) {
    return {m * (p.y() * p.y() + p.z() * p.z()),
            m * (p.x() * p.x() + p.z() * p.z()),
            m * (p.x() * p.x() + p.y() * p.y()),
            -m * p.x() * p.y(),
            -m * p.x() * p.z(),
            -m * p.y() * p.z()};
  }
  KtSymmetricTensor operator+(const KtSymmetricTensor& o) const {
    return {xx + o.xx, yy + o.yy, zz + o.zz, xy + o.xy, xz + o.xz, yz + o.yz};
  }
  KtSymmetricTensor operator-(const KtSymmetricTensor& o) const {
    return {xx - o.xx, yy - o.yy, zz - o.zz, xy - o.xy, xz - o.xz, yz - o.yz};
  }
};

// The tensor as an empty element with the attributes xx, yy, zz, xy, xz and yz.
struct KtXmlSymmetricTensorForm {
  static constexpr std::array<std::string_view, 6> names = {"xx", "yy", "zz", "xy", "xz", "yz"};
  static constexpr const char* className = "KtMassProperties";
  static constexpr const char* schemaName = "ktSymmetricTensor";
  static std::array<double, 6> components(const KtSymmetricTensor& t) {
    return {t.xx, t.yy, t.zz, t.xy, t.xz, t.yz};
  }
  static KtSymmetricTensor make(const std::array<double, 6>& c) {
    return {c[0], c[1], c[2], c[3], c[4], c[5]};
  }
};

// The mass model of one link (or of a manipulator's base), given in the link's primary frame:
//
//   <sm:massProperties>
//     <sm:firstMoment x=".." y=".." z=".."/>         mass times the centre of mass (kg m)
//     <sm:mass>..</sm:mass>                          kg
//     <sm:secondMoment xx=".." yy=".." zz=".." xy=".." xz=".." yz=".."/>
//   </sm:massProperties>
//
// The second moment is the inertia tensor (kg m², entries as in I = ∫ (|r|² E − r rᵀ) dm, so
// the off-diagonal ones are the negated products of inertia) about the primary frame's origin,
// in its axes; the element takes all six attributes. Every part defaults to zero and is left out of documents
// while it is zero; a link without the element is massless.
//
// Only values that a rigid body can have are taken: a mass that is not negative, no first or
// second moment without mass, and an inertia about the centre of mass that is positive
// semi-definite. A document with other values loads with the link massless and a warning that
// names its file and line.
class KtMassProperties : public KtXmlCloneable<KtMassProperties, KtXmlCompoundType> {
 public:
  const KtToken& elementToken() const override;
  bool read(KtXmlReader& reader) override;
  bool mayBeOmitted() const override {
    return isMassless() && firstMoment() == Kt::Vector() && secondMoment() == KtSymmetricTensor();
  }

  KtReal mass() const { return m_mass; }
  const Kt::Vector& firstMoment() const { return m_firstMoment.value(); }
  const KtSymmetricTensor& secondMoment() const { return m_secondMoment.value(); }
  bool isMassless() const { return m_mass == 0.0; }
  // Where the centre of mass lies (primary frame); the origin for a massless body.
  Kt::Vector centerOfMass() const { return isMassless() ? Kt::Vector() : firstMoment() / mass(); }
  // The inertia about the centre of mass, in the primary frame's axes.
  KtSymmetricTensor inertiaAboutCenterOfMass() const;

  // Takes the three moments when a rigid body can have them; otherwise prints
  // "KtMassProperties::set(): <reason>; nothing changed." and gives false.
  bool set(KtReal mass, const Kt::Vector& firstMoment, const KtSymmetricTensor& secondMoment);
  // The same from a mass, its centre and its inertia about that centre.
  bool setAboutCenterOfMass(KtReal mass, const Kt::Vector& center, const KtSymmetricTensor& inertia) {
    return set(mass, center * mass, inertia + KtSymmetricTensor::ofPointMass(mass, center));
  }

  // Why the three moments describe no rigid body, or null when they do.
  static const char* physicalProblem(KtReal mass, const Kt::Vector& firstMoment,
                                     const KtSymmetricTensor& secondMoment);

 protected:
  void registerComponents() override;

 private:
  KtXmlDefaulted<KtXmlBasicType<KtReal>> m_mass{0.0};
  KtXmlDefaulted<KtXmlVector> m_firstMoment;
  KtXmlDefaulted<KtXmlFixedShape<KtSymmetricTensor, KtXmlSymmetricTensorForm>> m_secondMoment;
};
