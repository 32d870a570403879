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
#include "motion/expression/KtControlExpressionAnd.h"
#include "motion/expression/KtControlExpressionCollisionAvoidanceAb.h"
#include "motion/expression/KtControlExpressionColumnTableFunction.h"
#include "motion/expression/KtControlExpressionContainer.h"
#include "motion/expression/KtControlExpressionCosine.h"
#include "motion/expression/KtControlExpressionDiagonalMatrix.h"
#include "motion/expression/KtControlExpressionElementInverse.h"
#include "motion/expression/KtControlExpressionElementLog.h"
#include "motion/expression/KtControlExpressionElementLogN.h"
#include "motion/expression/KtControlExpressionElementPow.h"
#include "motion/expression/KtControlExpressionElementRoot.h"
#include "motion/expression/KtControlExpressionEndEffectorErrorWeights.h"
#include "motion/expression/KtControlExpressionErrorReduction.h"
#include "motion/expression/KtControlExpressionErrorSensitivity.h"
#include "motion/expression/KtControlExpressionExpressionContainer.h"
#include "motion/expression/KtControlExpressionGeneralColumn.h"
#include "motion/expression/KtControlExpressionGravityGradient.h"
#include "motion/expression/KtControlExpressionGreaterThan.h"
#include "motion/expression/KtControlExpressionGreaterThanOrEqualTo.h"
#include "motion/expression/KtControlExpressionIdentityMatrix.h"
#include "motion/expression/KtControlExpressionJointLimitAvoidance.h"
#include "motion/expression/KtControlExpressionJointValue.h"
#include "motion/expression/KtControlExpressionLessThan.h"
#include "motion/expression/KtControlExpressionLessThanOrEqualTo.h"
#include "motion/expression/KtControlExpressionMassMatrix.h"
#include "motion/expression/KtControlExpressionMatrixToAb.h"
#include "motion/expression/KtControlExpressionMinus.h"
#include "motion/expression/KtControlExpressionNegative.h"
#include "motion/expression/KtControlExpressionObstacleAvoidance.h"
#include "motion/expression/KtControlExpressionPlus.h"
#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/expression/KtControlExpressionSine.h"
#include "motion/expression/KtControlExpressionSingleElementColumn.h"
#include "motion/expression/KtControlExpressionSingleElementMatrix.h"
#include "motion/expression/KtControlExpressionSingularityAvoidance.h"
#include "motion/expression/KtControlExpressionStrengthOptimization.h"
#include "motion/expression/KtControlExpressionTimes.h"
#include "motion/expression/KtControlExpressionTranspose.h"
#include "motion/expression/KtControlExpressionVectorToAb.h"
#include "motion/expression/KtObstacleCapsule.h"
#include "motion/expression/filter/KtControlExpressionEndEffectorErrorFilter.h"
#include "motion/expression/filter/KtControlExpressionEndEffectorMotionFilter.h"
#include "motion/expression/filter/KtControlExpressionJointRateFilter.h"
#include "motion/expression/filter/KtControlExpressionPlanarTracksFilter.h"
#include "motion/expression/filter/KtControlExpressionSimulationFilter.h"
#include "motion/position/KtPositionControlContainer.h"
#include "motion/position/KtPositionControlVariants.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/KtControlExpressionCoreAb.h"
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
  factory.registerClass<KtControlExpressionCoreAb>();
  factory.registerClass<KtControlExpressionJointRateFilter>();
  factory.registerClass<KtControlExpressionEndEffectorMotionFilter>();
  factory.registerClass<KtControlExpressionEndEffectorErrorFilter>();
  factory.registerClass<KtControlExpressionSimulationFilter>();
  factory.registerClass<KtControlExpressionPlanarTracksFilter>();
  factory.registerClass<KtWlsSoftConstraintHandler>();
  factory.registerClass<KtIndividualVelocityControlDescription>();
  factory.registerClass<KtVelocityControlSystem>();
  factory.registerClass<KtControlExpressionIdentityMatrix>();
  factory.registerClass<KtControlExpressionDiagonalMatrix>();
  factory.registerClass<KtControlExpressionSingleElementMatrix>();
  factory.registerClass<KtControlExpressionSingleElementColumn>();
  factory.registerClass<KtControlExpressionGeneralColumn>();
  factory.registerClass<KtControlExpressionExpressionContainer>();
  factory.registerClass<KtControlExpressionPlus>();
  factory.registerClass<KtControlExpressionMinus>();
  factory.registerClass<KtControlExpressionTimes>();
  factory.registerClass<KtControlExpressionNegative>();
  factory.registerClass<KtControlExpressionTranspose>();
  factory.registerClass<KtControlExpressionElementInverse>();
  factory.registerClass<KtControlExpressionElementPow>();
  factory.registerClass<KtControlExpressionElementRoot>();
  factory.registerClass<KtControlExpressionElementLog>();
  factory.registerClass<KtControlExpressionElementLogN>();
  factory.registerClass<KtControlExpressionSine>();
  factory.registerClass<KtControlExpressionCosine>();
  factory.registerClass<KtControlExpressionGreaterThan>();
  factory.registerClass<KtControlExpressionGreaterThanOrEqualTo>();
  factory.registerClass<KtControlExpressionLessThan>();
  factory.registerClass<KtControlExpressionLessThanOrEqualTo>();
  factory.registerClass<KtControlExpressionAnd>();
  factory.registerClass<KtControlExpressionJointValue>();
  factory.registerClass<KtControlExpressionColumnTableFunction>();
  factory.registerClass<KtControlExpressionMatrixToAb>();
  factory.registerClass<KtControlExpressionVectorToAb>();
  factory.registerClass<KtControlExpressionEndEffectorErrorWeights>();
  factory.registerClass<KtControlExpressionMassMatrix>();
  factory.registerClass<KtControlExpressionMassMatrixAb>();
  factory.registerClass<KtControlExpressionPotentialEnergyGradient>();
  factory.registerClass<KtControlExpressionGravitationalTorqueGradient>();
  factory.registerClass<KtPositionControlSystem>();
  factory.registerClass<KtPositionControlSystemWithSimulation>();
  factory.registerClass<KtPositionControlSystemWithConverter>();
  factory.registerClass<KtPositionControlSystemWithAcceleration>();
  factory.registerClass<KtPositionControlContainer>();
  return true;
}();

}  // namespace
