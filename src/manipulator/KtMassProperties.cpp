#include "manipulator/KtMassProperties.h"

#include <algorithm>
#include <cmath>

#include "foundation/Print.h"
#include "xml/KtXmlNamespaces.h"
#include "xml/KtXmlReader.h"

namespace {

// Whether a symmetric tensor is positive semi-definite: all its principal minors are not
// negative, each up to `slack` times the tensor's scale to the power of the minor's order less one.
bool positiveSemiDefinite(const KtSymmetricTensor& t, KtReal scale, KtReal slack) {
  const KtReal first = slack, second = slack * scale, third = slack * scale * scale;
  const KtReal det = t.xx * (t.yy * t.zz - t.yz * t.yz) - t.xy * (t.xy * t.zz - t.yz * t.xz) +
                     t.xz * (t.xy * t.yz - t.yy * t.xz);
  // Written as "not below" so that a NaN anywhere fails.
  return t.xx >= -first && t.yy >= -first && t.zz >= -first && t.xx * t.yy - t.xy * t.xy >= -second &&
         t.xx * t.zz - t.xz * t.xz >= -second && t.yy * t.zz - t.yz * t.yz >= -second && det >= -third;
}

}  // namespace

const KtToken& KtMassProperties::elementToken() const {
  static const KtToken token(ktNamespaceSm, "massProperties");
  return token;
}

void KtMassProperties::registerComponents() {
  KtXmlCompoundType::registerComponents();
  static const KtToken mass(ktNamespaceSm, "mass"), first(ktNamespaceSm, "firstMoment"),
      second(ktNamespaceSm, "secondMoment");
  registerComponent(mass, m_mass);
  registerComponent(first, m_firstMoment);
  registerComponent(second, m_secondMoment);
}

KtSymmetricTensor KtMassProperties::inertiaAboutCenterOfMass() const {
  if (isMassless()) return secondMoment();
  return secondMoment() - KtSymmetricTensor::ofPointMass(1.0 / mass(), firstMoment());
}

const char* KtMassProperties::physicalProblem(KtReal mass, const Kt::Vector& firstMoment,
                                              const KtSymmetricTensor& secondMoment) {
  if (!(mass >= 0.0)) return "the mass is negative";
  if (mass == 0.0) {
    if (firstMoment == Kt::Vector() && secondMoment == KtSymmetricTensor()) return nullptr;
    return "a first or second moment is given without mass";
  }
  // Moving the inertia to the centre of mass subtracts (|h|² E − h hᵀ) / m, whose rounding is
  // relative to the size of the second moment itself.
  const KtSymmetricTensor central = secondMoment - KtSymmetricTensor::ofPointMass(1.0 / mass, firstMoment);
  const KtReal scale =
      std::max({std::abs(secondMoment.xx), std::abs(secondMoment.yy), std::abs(secondMoment.zz)});
  if (!positiveSemiDefinite(central, scale, 1e-12 * scale))
    return "the second moment is not positive semi-definite about the centre of mass";
  return nullptr;
}

bool KtMassProperties::set(KtReal mass, const Kt::Vector& firstMoment,
                           const KtSymmetricTensor& secondMoment) {
  if (const char* problem = physicalProblem(mass, firstMoment, secondMoment)) {
    ktPrint(KtSeverity::Error, "KtMassProperties::set(): %s; nothing changed.\n", problem);
    return false;
  }
  m_mass = mass;
  m_firstMoment = firstMoment;
  m_secondMoment = secondMoment;
  return true;
}

bool KtMassProperties::read(KtXmlReader& reader) {
  const bool read = KtXmlCompoundType::read(reader);
  if (const char* problem = physicalProblem(mass(), firstMoment(), secondMoment())) {
    ktPrint(KtSeverity::Warning,
            "KtMassProperties Warning: %s; the link is taken as massless.\n\tFile: %s\n\tLine: %d\n", problem,
            reader.fileName().c_str(), reader.line());
    m_mass = 0.0;
    m_firstMoment = Kt::Vector();
    m_secondMoment = KtSymmetricTensor();
  }
  return read;
}
