#include "manipulator/KtFrameChain.h"

#include <gtest/gtest.h>

#include <numeric>

#include "manipulator/ManipulatorTestSupport.h"

using namespace manipulator_test;

namespace {

using Form = void (*)(const KtFrameChainRun&);

// The records that one form of the frame arithmetic gives for every link of a serial arm, from
// the base record, for the joints that the state holds.
std::vector<KtLinkFrames> framesBy(Form form, const KtIndividualManipulator& arm,
                                   KtManipulatorActiveState& active) {
  arm.dhFrameInSystem(active);  // binds the state to the arm and fills the base record
  KtManipulatorActivePositionState& positions = active.activePositionState();
  std::vector<KtLinkFrames> frames(arm.jointDof());
  std::vector<std::size_t> path(arm.jointDof());
  std::iota(path.begin(), path.end(), std::size_t{0});
  KtFrameChainRun run;
  run.plans = positions.jointPlanData();
  run.frames = frames.data();
  run.path = path.data();
  run.count = path.size();
  run.start = &positions.baseFrames();
  run.joints = &positions.positionState().jointPositions();
  run.scratch = &positions.frameSweep();
  form(run);
  return frames;
}

}  // namespace

// Each form (baseline, and AVX2 with FMA where the processor has them) gives every link's frame
// within 1e-12 of KDL's, as a unit quaternion, with the record's matrix that of the quaternion
// and its origin the translation; on arms of one convention each and of every row type.
TEST(KtFrameChainTest, EachFormAgreesWithKdlAndItsOwnMatrix) {
  TestRandom rng(71);
  std::vector<Form> forms{KtFrameChain::composeBaseline};
  if (KtFrameChain::wideAvailable()) forms.push_back(KtFrameChain::composeWide);
  for (const auto& arm : {makeSerialArm(craigArmRows()), makeSerialArm(paulArmRows()), mixedArm(rng, 10)}) {
    KtManipulatorActiveState active;
    for (int i = 0; i < TestRandom::cases(); ++i) {
      const Kt::coordinateSystemTransformation base = randomPose(rng);
      const std::vector<double> q = randomJoints(rng, arm->jointDof(), 4.0);
      active.activePositionState().setBasePose(base);
      active.activePositionState().setJointPositions(q);
      const std::vector<KDL::Frame> expected = kdlFrames(*arm, base, q);
      for (std::size_t f = 0; f < forms.size(); ++f) {
        const std::vector<KtLinkFrames> frames = framesBy(forms[f], *arm, active);
        for (std::size_t link = 0; link < frames.size(); ++link) {
          const Kt::coordinateSystemTransformation& frame = frames[link].dhFrame();
          ASSERT_LT(frameDistance(frame, expected[link]), 1e-12) << "form " << f << " link " << link;
          const Kt::Orientation& turn = frame.orientation();
          EXPECT_TRUE(Kt::Orientation::withinBand(turn.w() * turn.w() + turn.x() * turn.x() +
                                                  turn.y() * turn.y() + turn.z() * turn.z()));
          EXPECT_EQ(frame.mode(), Kt::coordinateSystemTransformation::modeGeneral);
          EXPECT_EQ(frames[link].column(KtLinkFrames::origin), frame.translation());
          expectNear(frames[link].column(KtLinkFrames::xAxis), turn.xAxis(), 1e-14, "x axis");
          expectNear(frames[link].column(KtLinkFrames::yAxis), turn.yAxis(), 1e-14, "y axis");
          expectNear(frames[link].column(KtLinkFrames::zAxis), turn.zAxis(), 1e-14, "z axis");
        }
      }
    }
  }
}
