#pragma once

#include <cstdint>
#include <string_view>

#include "manipulator/KtHalfAngleRow.h"
#include "manipulator/KtLinkKinematics.h"
#include "xml/KtXmlBasicType.h"
#include "xml/KtXmlEnumType.h"

enum class KtJointType : std::int32_t { rotational = 0, prismatic = 1 };

// paul: Rz(theta)·Tz(d)·Tx(a)·Rx(alpha); craig: Rx(alpha)·Tx(a)·Rz(theta)·Tz(d); the
// general forms put a fixed precursor transformation in front, and general alone is the
// precursor followed by the joint's pure motion about or along z.
enum class KtDhType : std::int32_t { paul = 0, generalPaul = 1, craig = 2, generalCraig = 3, general = 4 };

template <>
struct KtXmlEnumWords<KtJointType> {
  static constexpr std::string_view name = "jointType";
  static constexpr std::string_view words[] = {"rotational", "prismatic"};
};

template <>
struct KtXmlEnumWords<KtDhType> {
  static constexpr std::string_view name = "dhType";
  static constexpr std::string_view words[] = {"paul", "generalPaul", "craig", "generalCraig", "general"};
};

// A Denavit-Hartenberg joint in the classic or the modified convention.
//
// The joint value replaces theta for a rotational joint and d for a prismatic one: the
// stored theta (rotational) or d (prismatic) is then not used at all, so a constant offset
// of the joint variable belongs in the joint value.
//
// The joint transformation is cached on the joint value: it is recomputed only when the
// value differs exactly from the last one or a parameter was set since.
class KtDenavitHartenberg : public KtXmlCloneable<KtDenavitHartenberg, KtLinkKinematics> {
 public:
  KtDenavitHartenberg() = default;

  const KtToken& elementToken() const override;

  KtJointType jointType() const { return m_jointType; }
  KtDhType dhType() const { return m_dhType; }
  const Kt::coordinateSystemTransformation& precursor() const { return m_precursor; }
  KtReal theta() const { return m_theta; }
  KtReal d() const { return m_d; }
  KtReal a() const { return m_a; }
  KtReal alpha() const { return m_alpha; }

  void setJointType(KtJointType type);
  void setDhType(KtDhType type);
  // Replaces the precursor; the D-H type is left as it is.
  void setPrecursor(const Kt::coordinateSystemTransformation& precursor);
  void setTheta(KtReal theta);
  void setD(KtReal d);
  void setA(KtReal a);
  void setAlpha(KtReal alpha);
  // Composes t onto the outboard side of the precursor. A "paul" or "craig" joint first becomes
  // its general form with an identity precursor; a general joint keeps its precursor, so
  // repeated calls accumulate.
  void composePrecursor(const Kt::coordinateSystemTransformation& t);

  const Kt::coordinateSystemTransformation& dhTransform(KtReal q) const override;
  // Whether this is a rotational "paul" or "craig" row, whose joint transformation is built
  // from the sine and cosine of half the joint value alone.
  bool isHalfAngleRow() const { return m_rotationalRow != RotationalRow::none; }
  // For such a row: takes q, whose frame the caller has computed together with those of other
  // joints, as the cached joint value (counted as a computation unless q is the cached value
  // already); dhTransform builds the transformation for it only when asked.
  void noteJointValue(KtReal q) const {
    if (m_frameValid && q == m_cachedJointValue) return;
    m_cachedJointValue = q;
    m_frameValid = true;
    m_frameBuilt = false;
    ++m_transformComputations;
  }
  // For such a row: what the frame sweep needs of it besides the joint value.
  KtHalfAngleRow halfAngleRow() const {
    return KtHalfAngleRow::of(m_rotationalRow == RotationalRow::paul, m_a, m_d, m_cosAlpha, m_sinAlpha,
                              m_cosHalfAlpha, m_sinHalfAlpha);
  }
  void calculateTransform(Kt::coordinateSystemTransformation& result, KtReal q) const override;
  bool getUnitFrameMotion(KtGeneralMotion& motion) const override;
  bool accelerationFromJointVelocity(KtReal jointVelocity, KtGeneralMotion& acceleration) const override;
  KtReal jointParameterScalability() const override;
  KtReal upperBoundDhFrameDistance(KtReal jointValueBound) const override;

 protected:
  void registerComponents() override;
  void parametersChanged() override;

 private:
  bool isGeneralType() const;
  // Both types known; otherwise prints "<operation> bad D-H type" or "bad joint type".
  bool checkTypes(const char* operation) const;
  // The pure joint motion (p, R) of the table for q, without precursor.
  Kt::coordinateSystemTransformation jointMotion(KtReal q) const;
  // The motion of a rotational joint in the classic or the modified convention, from the sine
  // and cosine of half the joint value.
  //
  // With (ch, sh) and (ca, sa) the cosines and sines of q/2 and alpha/2, Rz(q)·Rx(alpha) is the
  // quaternion (ch·ca, ch·sa, sh·sa, sh·ca) and Rx(alpha)·Rz(q) is (ch·ca, ch·sa, -sh·sa, sh·ca):
  // four products of unit pairs, so no square root or division is needed and the result is a
  // unit quaternion to rounding. The classic translation needs cos q = 1 - 2·sh² and
  // sin q = 2·sh·ch.
  Kt::coordinateSystemTransformation rotationalMotion(KtReal sineHalf, KtReal cosineHalf,
                                                      bool classic) const {
    const KtReal ca = m_cosHalfAlpha, sa = m_sinHalfAlpha;
    const KtReal y = sineHalf * sa;
    const Kt::Orientation rotation(cosineHalf * ca, cosineHalf * sa, classic ? y : -y, sineHalf * ca);
    if (!classic) return {m_craigTranslation, rotation};
    const KtReal cosine = 1.0 - 2.0 * sineHalf * sineHalf, sine = 2.0 * sineHalf * cosineHalf;
    return {Kt::Vector(m_a * cosine, m_a * sine, m_d), rotation};
  }
  Kt::coordinateSystemTransformation rotationalMotion(KtReal q, bool classic) const;

  KtXmlEnumType<KtJointType> m_jointType = KtJointType::rotational;
  KtXmlEnumType<KtDhType> m_dhType = KtDhType::paul;
  KtCoordinateSystemTransformation m_precursor;
  KtXmlBasicType<KtReal> m_theta = 0.0;
  KtXmlBasicType<KtReal> m_d = 0.0;
  KtXmlBasicType<KtReal> m_a = 0.0;
  KtXmlBasicType<KtReal> m_alpha = 0.0;

  // Derived from alpha whenever it is set.
  KtReal m_sinAlpha = 0.0;
  KtReal m_cosAlpha = 1.0;
  KtReal m_sinHalfAlpha = 0.0;
  KtReal m_cosHalfAlpha = 1.0;
  // The modified convention's joint translation, which does not depend on the joint value.
  Kt::Vector m_craigTranslation;
  // The rotational "paul" and "craig" joints, which dhTransform computes without the type
  // checks and the precursor of the other rows.
  enum class RotationalRow : std::uint8_t { none, paul, craig };
  RotationalRow m_rotationalRow = RotationalRow::paul;

  // The joint-value cache.
  mutable KtCoordinateSystemTransformation m_cachedFrame;
  mutable KtReal m_cachedJointValue = 0.0;
  mutable bool m_frameValid = false;
  // A half-angle row builds the transformation of its cached value on the first dhTransform.
  mutable bool m_frameBuilt = false;
};
