#include "motion/position/KtPropagationResultData.h"

#include <algorithm>

void KtPropagationResultData::clear() {
  m_stepsTaken = 0;
  m_targetTimeReached = false;
  setErrorsBefore(0.0, 0.0);
  setErrorsAfter(0.0, 0.0);
  m_smallestSingularValue = 0.0;
  m_clampedJoints.clear();
  m_filterScaleFactors.clear();
  m_nonFiniteRejected = false;
}

void KtPropagationResultData::reserve(std::size_t joints, std::size_t endEffectors) {
  m_clampedJoints.reserve(joints);
  m_filterScaleFactors.reserve(endEffectors);
}

void KtPropagationResultData::setErrorsBefore(KtReal linear, KtReal angular) {
  m_linearErrorBefore = linear;
  m_angularErrorBefore = angular;
}

void KtPropagationResultData::setErrorsAfter(KtReal linear, KtReal angular) {
  m_linearErrorAfter = linear;
  m_angularErrorAfter = angular;
}

void KtPropagationResultData::noteClampedJoint(std::size_t joint) {
  if (std::find(m_clampedJoints.begin(), m_clampedJoints.end(), joint) == m_clampedJoints.end())
    m_clampedJoints.push_back(joint);
}

void KtPropagationResultData::resetFilterScaleFactors(std::size_t endEffectors) {
  if (m_filterScaleFactors.size() == endEffectors)
    std::fill(m_filterScaleFactors.begin(), m_filterScaleFactors.end(), 1.0);
  else
    m_filterScaleFactors.assign(endEffectors, 1.0);
}

void KtPropagationResultData::noteFilterScaleFactor(std::size_t endEffector, KtReal factor) {
  if (endEffector < m_filterScaleFactors.size())
    m_filterScaleFactors[endEffector] = std::min(m_filterScaleFactors[endEffector], factor);
}
