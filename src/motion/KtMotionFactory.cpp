// Enters the motion classes that documents create by element name (end effectors stand in
// polymorphic vectors) into the default factory at start-up.
#include "motion/KtGeneralMotionFilter.h"
#include "motion/KtPointMotionFilter.h"
#include "motion/endeffector/KtCenterOfMassEndEffector.h"
#include "motion/endeffector/KtEndEffectorRelativeLinkData.h"
#include "motion/endeffector/KtEndEffectorSet.h"
#include "motion/endeffector/KtEndEffectorVector.h"
#include "motion/endeffector/KtFrameEndEffector.h"
#include "motion/endeffector/KtFreeSpinInZEndEffector.h"
#include "motion/endeffector/KtLinearConstraintEndEffector.h"
#include "motion/endeffector/KtLookAtEndEffector.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacement.h"
#include "motion/endeffector/KtManipulatorEndEffectorPlacementVector.h"
#include "motion/endeffector/KtManipulatorEndEffectorVelocity.h"
#include "motion/endeffector/KtOrientationEndEffector.h"
#include "motion/endeffector/KtPlanarEndEffector.h"
#include "motion/endeffector/KtPointEndEffector.h"
#include "motion/endeffector/KtSlideXSpinZEndEffector.h"
#include "motion/endeffector/KtSlidingEndEffector.h"
#include "motion/endeffector/KtSpatialMomentumEndEffector.h"
#include "motion/endeffector/KtXyEndEffector.h"
#include "motion/expression/KtControlExpressionCollisionAvoidanceAb.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "motion/expression/KtControlExpressionErrorReduction.h"
#include "motion/expression/KtControlExpressionErrorSensitivity.h"
#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"
#include "motion/expression/KtControlExpressionObstacleAvoidance.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/expression/KtControlExpressionSingularityAvoidance.h"
#include "motion/expression/KtControlExpressionStrengthOptimization.h"
#include "motion/expression/KtObstacleCapsule.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/KtIndividualVelocityControlDescription.h"
#include "motion/velocity/KtVelocityControlSystem.h"
#include "motion/velocity/KtWlsSoftConstraintHandler.h"
#include "xml/KtXmlFactory.h"

namespace {

const bool registered = [] {
  KtXmlFactory& factory = KtXmlFactory::defaultFactory();
  factory.registerClass<KtPointMotionFilter>();
  factory.registerClass<KtGeneralMotionFilter>();
  factory.registerClass<KtEndEffectorRelativeLinkData>();
  factory.registerClass<KtEndEffectorVector>();
  factory.registerClass<KtEndEffectorSet>();
  factory.registerClass<KtManipulatorEndEffectorPlacement>();
  factory.registerClass<KtManipulatorEndEffectorPlacementVector>();
  factory.registerClass<KtManipulatorEndEffectorVelocity>();
  factory.registerClass<KtPointEndEffector>();
  factory.registerClass<KtXyEndEffector>();
  factory.registerClass<KtLinearConstraintEndEffector>();
  factory.registerClass<KtFrameEndEffector>();
  factory.registerClass<KtOrientationEndEffector>();
  factory.registerClass<KtPlanarEndEffector>();
  factory.registerClass<KtSlideXSpinZEndEffector>();
  factory.registerClass<KtFreeSpinInZEndEffector>();
  factory.registerClass<KtSlidingEndEffector>();
  factory.registerClass<KtLookAtEndEffector>();
  factory.registerClass<KtCenterOfMassEndEffector>();
  factory.registerClass<KtSpatialMomentumEndEffector>();
  factory.registerClass<KtControlExpressionContainer>();
  factory.registerClass<KtControlExpressionScalarConstant>();
  factory.registerClass<KtControlExpressionJointLimitAvoidance>();
  factory.registerClass<KtObstacleCapsule>();
  factory.registerClass<KtControlExpressionObstacleAvoidanceAb>();
  factory.registerClass<KtControlExpressionObstacleAvoidance>();
  factory.registerClass<KtControlExpressionCollisionAvoidanceAb>();
  factory.registerClass<KtControlExpressionSingularityAvoidance>();
  factory.registerClass<KtControlExpressionStrengthOptimization>();
  factory.registerClass<KtControlExpressionErrorReduction>();
  factory.registerClass<KtControlExpressionErrorSensitivity>();
  factory.registerClass<KtControlExpressionCore>();
  factory.registerClass<KtWlsSoftConstraintHandler>();
  factory.registerClass<KtIndividualVelocityControlDescription>();
  factory.registerClass<KtVelocityControlSystem>();
  return true;
}();

}  // namespace
