#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "motion/expression/KtControlExpressionScalarConstant.h"
#include "motion/expression/filter/KtControlExpressionEndEffectorErrorFilter.h"
#include "motion/expression/filter/KtControlExpressionEndEffectorMotionFilter.h"
#include "motion/expression/filter/KtControlExpressionJointRateFilter.h"
#include "motion/expression/filter/KtControlExpressionPlanarTracksFilter.h"
#include "motion/expression/filter/KtControlExpressionSimulationFilter.h"
#include "motion/velocity/KtControlExpressionCore.h"
#include "motion/velocity/VelocityTestSupport.h"
#include "support/AllocationCounter.h"
#include "support/PrintCapture.h"
#include "xml/KtXmlTextDocuments.h"

using namespace velocity_test;
using Rates = std::vector<double>;

namespace {

using JointRateFilter = KtControlExpressionJointRateFilter;
using MotionFilter = KtControlExpressionEndEffectorMotionFilter;
using ErrorFilter = KtControlExpressionEndEffectorErrorFilter;
using SimulationFilter = KtControlExpressionSimulationFilter;
using TracksFilter = KtControlExpressionPlanarTracksFilter;
using Node = std::unique_ptr<KtControlExpression>;

KtControlContext columnsOnly(std::size_t columns, std::size_t rows = 0) {
  KtControlContext context;
  context.columnCount = columns;
  context.rowCount = rows;
  return context;
}

template <typename Filter>
std::unique_ptr<Filter> around(Node operand) {
  auto filter = std::make_unique<Filter>();
  if constexpr (std::is_same_v<Filter, SimulationFilter>) {
    filter->setUnfilteredRates(KtControlExpressionContainer(std::move(operand)));
  } else {
    filter->unfilteredRates().setExpression(std::move(operand));
  }
  return filter;
}

bool run(KtControlExpression& filter, const KtControlContext& context) {
  return filter.prepare(context) && filter.evaluate(context);
}

// Runs a filter of the class around `operand`, set up by `setup` first.
template <typename Filter, typename Setup>
bool runSetUp(Node operand, const KtControlContext& context, Setup&& setup) {
  auto filter = around<Filter>(std::move(operand));
  setup(*filter);
  return run(*filter, context);
}

// out = s·in for one factor s, to within rounding of in plus `slack`.
void expectParallel(const Rates& out, const Rates& in, double slack = 0.0) {
  const double scale = norm(in) > 0.0 ? norm(out) / norm(in) : 1.0;
  for (std::size_t i = 0; i < in.size(); ++i) EXPECT_NEAR(out[i], scale * in[i], 1e-12 * norm(in) + slack);
}

// A filter that scales rates onto a bound of a homogeneous measure: parallel output, unchanged
// when the bound holds, exactly on the bound otherwise.
void expectScaledOntoBound(const Rates& out, const Rates& in,
                           const std::function<double(const Rates&)>& measure, double bound) {
  expectParallel(out, in);
  if (measure(in) <= bound) {
    EXPECT_EQ(out, in);
  } else {
    EXPECT_NEAR(measure(out), bound, 1e-12 * (1.0 + bound));
  }
}

std::size_t pick(TestRandom& rng, std::size_t count) {
  return static_cast<std::size_t>(rng.integer(0, static_cast<int>(count) - 1));
}

// Empty (meaning ones) a quarter of the time.
Rates randomWeights(TestRandom& rng, std::size_t count, double low) {
  Rates weights(rng.uniform(0.0, 1.0) < 0.25 ? 0 : count);
  for (double& w : weights) w = rng.uniform(low, 2.0);
  return weights;
}

double weightOf(const Rates& weights, std::size_t i) { return weights.empty() ? 1.0 : weights[i]; }

}  // namespace

// Each filter goes through a document with every component away from its default, the kept
// simulator elements included, and comes back byte for byte with every component written.
TEST(KtRateFiltersTest, EveryFilterIsWrittenBackAsRead) {
  auto el = [](const std::string& name, const std::string& content) {
    return "<ct:" + name + ">" + content + "</ct:" + name + ">";
  };
  auto list = [](const std::string& name, int size, const std::string& entries) {
    return "<ct:" + name + " size=\"" + std::to_string(size) + "\"><group>" + entries +
           "</group></ct:" + name + ">";
  };
  const std::string rates = el("unfilteredRates", "<ct:controlCore/>");
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"jointRateFilter", list("weights", 2, "1 2") + el("threshold", "0.5") + rates},
      {"endEffectorMotionFilter", list("handVelocityWeights", 1, "3") + list("jointRateWeights", 1, "0") +
                                      el("maxRatio", "2") + el("useInfinityNorm", "true") + rates},
      {"endEffectorErrorFilter", list("weights", 1, "4") + el("defaultWeight", "2") +
                                     el("threshold", "0.01") + el("stopsAtLimits", "false") +
                                     el("stopsAtCollisions", "true") + el("jointLimitStoppingRange", "0.1") +
                                     el("bvhPrecisionLevel", "3") + rates},
      {"simulationFilter",
       "<ct:unfilteredRatesVector "
       "size=\"1\"><ct:element><ct:controlCore/></ct:element></ct:unfilteredRatesVector>"
       "<ct:manipulatorJointController "
       "gain=\"4\"><ct:pid><ct:p>1</ct:p></ct:pid></ct:manipulatorJointController>" +
           list("weights", 1, "0.2") + el("threshold", "0.3") + el("thresholdOption", "scaled") +
           el("dynamicSimulators", "euler")},
      {"planarTracksFilter", el("angularRateFactor", "0.5") + rates +
                                 el("baseFilterFrameInPrimary", "<ct:translation x=\"1\" y=\"2\" z=\"3\"/>")},
  };
  for (const auto& [name, body] : rows) {
    KtControlExpressionContainer read, again;
    PrintCapture quiet;
    ASSERT_TRUE(
        ktTestRead(read, "<ct:controlExpressionContainer xmlns:ct=\"http://kt.example.org/namespace/ct\">" +
                             el(name, body) + "</ct:controlExpressionContainer>\n"));
    EXPECT_EQ(quiet.text(), "") << name;
    const std::string text = ktTestWrittenTwice(read, again);
    for (std::size_t at = body.find("<ct:"); at != std::string::npos; at = body.find("<ct:", at + 1)) {
      const std::string tag = body.substr(at, body.find_first_of(" />", at) - at);
      EXPECT_NE(text.find(tag), std::string::npos) << tag << " in\n" << text;
    }
  }
}

// Exact texts of every message the filters print, each with the case that provokes it.
TEST(KtRateFiltersTest, ReportsOperandsWeightsAndMissingDataByExactText) {
  TestRandom rng(901);
  FlangeControl arm(rng);
  KtControlContext seven = columnsOnly(7, 6), free = columnsOnly(13, 6), commanded = seven;
  free.manipulator = &arm.stated.system().manipulator(0);
  const Rates velocities(6, 1.0);
  commanded.endEffectorVelocities = &velocities;
  auto scalar = [] { return std::make_unique<KtControlExpressionScalarConstant>(1.0); };
  auto rates = [](std::size_t n) { return literalColumn(Rates(n, 0.5)); };
  std::vector<std::pair<std::function<bool()>, std::string>> cases = {
      {[&] { return SimulationFilter().prepare(seven); },
       "KtControlExpressionSimulationFilter::prepare(): no unfiltered rates.\n"},
      {[&] { return runSetUp<JointRateFilter>(rates(7), seven, [](auto& f) {
               f.setWeights({1.0, 2.0});
             }); },
       "KtControlExpressionJointRateFilter::prepare(): weights has 2 entries for 7 rows or columns.\n"},
      {[&] {
         return runSetUp<MotionFilter>(rates(7), seven, [](auto& f) {
           f.setHandVelocityWeights({1.0, -1.0, 1.0, 1.0, 1.0, 1.0});
         });
       },
       "KtControlExpressionEndEffectorMotionFilter::prepare(): entry 1 of handVelocityWeights is -1; weights "
       "must not be negative.\n"},
      {[&] { return runSetUp<ErrorFilter>(rates(7), seven, [](auto& f) { f.setWeights(Rates(8, 1.0)); }); },
       "KtControlExpressionEndEffectorErrorFilter::prepare(): weights has 8 entries for 7 rows or "
       "columns.\n"},
      {[&] { return runSetUp<ErrorFilter>(rates(7), seven, [](auto& f) { f.setDefaultWeight(0.0); }); },
       "KtControlExpressionEndEffectorErrorFilter::prepare(): entry 0 of defaultWeight is 0; weights must be "
       "positive.\n"},
      {[&] { return run(*around<MotionFilter>(rates(7)), seven); },
       "KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(): attempt to measure a "
       "NULL end-effector velocity\n"},
      {[&] { return run(*around<MotionFilter>(rates(7)), commanded); },
       "KtControlExpressionEndEffectorMotionFilter::calculateHandVelocityMeasure(): NULL position state.\n"},
      {[&] { return run(*around<ErrorFilter>(rates(7)), seven); },
       "KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(): NULL position state.\n"},
      {[&] { return run(*around<TracksFilter>(rates(13)), free); },
       "KtControlExpressionPlanarTracksFilter::evaluate(): NULL position state.\n"},
  };
  // Every filter takes a column of joint-space rates.
  const std::pair<const char*, std::function<Node(Node)>> filters[] = {
      {"JointRateFilter", around<JointRateFilter>},
      {"EndEffectorMotionFilter", around<MotionFilter>},
      {"EndEffectorErrorFilter", around<ErrorFilter>},
      {"SimulationFilter", around<SimulationFilter>},
      {"PlanarTracksFilter", around<TracksFilter>}};
  for (const auto& [name, make] : filters)
    cases.emplace_back([&, make] { return run(*make(scalar()), seven); },
                       "KtControlExpression" + std::string(name) +
                           "::prepare(): the unfiltered rates are a scalar of 1 x 1, not a column of 7 "
                           "joint-space rates.\n");
  for (const auto& [provoke, text] : cases) {
    PrintCapture capture;
    EXPECT_FALSE(provoke());
    EXPECT_EQ(capture.text(), text);
  }
}

// Both scaling filters keep the direction of the rates and scale them just onto their bound:
// the joint-rate filter the largest weighted joint rate onto its threshold, the motion filter
// the weighted hand velocity of the counted columns (2-norm or largest entry) onto maxRatio
// times that of the commanded velocities.
TEST(KtRateFiltersTest, ScalingFiltersKeepTheDirectionAndMeetTheirBounds) {
  TestRandom rng(902);
  for (int trial = 0; trial < TestRandom::cases(); ++trial) {
    const std::size_t m = 1 + pick(rng, 6), n = 1 + pick(rng, 13);
    const Rates in = manipulator_test::randomJoints(rng, n, 3.0),
                velocities = manipulator_test::randomJoints(rng, m, 1.0);
    const Rates weights = randomWeights(rng, n, 0.1), handWeights = randomWeights(rng, m, 0.0),
                jointWeights = randomWeights(rng, n, 0.0);
    Kt::ReArray jacobian(m, n);
    for (std::size_t r = 0; r < m; ++r)
      for (std::size_t c = 0; c < n; ++c) jacobian[r][c] = rng.uniform(-1.0, 1.0);
    KtControlContext context = columnsOnly(n, m);
    context.jacobian = &jacobian;
    context.endEffectorVelocities = &velocities;

    auto jointRate = around<JointRateFilter>(literalColumn(in));
    jointRate->setWeights(weights);
    jointRate->setThreshold(rng.uniform(0.1, 4.0));
    ASSERT_TRUE(run(*jointRate, context));
    auto largestRate = [&](const Rates& rates) {
      double largest = 0.0;
      for (std::size_t i = 0; i < n; ++i)
        largest = std::max(largest, std::fabs(rates[i]) / weightOf(weights, i));
      return largest;
    };
    expectScaledOntoBound(jointRate->value().column(), in, largestRate, jointRate->threshold());

    auto motion = around<MotionFilter>(literalColumn(in));
    motion->setHandVelocityWeights(handWeights);
    motion->setJointRateWeights(jointWeights);
    motion->setMaxRatio(rng.uniform(0.2, 2.0));
    motion->setUseInfinityNorm(trial % 2 == 1);
    ASSERT_TRUE(run(*motion, context));
    auto measure = [&](const Rates& hand) {
      double sum = 0.0, largest = 0.0;
      for (std::size_t r = 0; r < m; ++r) {
        const double entry = std::fabs(weightOf(handWeights, r) * hand[r]);
        sum += entry * entry;
        largest = std::max(largest, entry);
      }
      return motion->useInfinityNorm() ? largest : std::sqrt(sum);
    };
    auto handMeasure = [&](const Rates& rates) {
      Rates counted = rates;
      for (std::size_t c = 0; c < n; ++c) counted[c] *= weightOf(jointWeights, c);
      return measure(times(jacobian, counted));
    };
    expectScaledOntoBound(motion->value().column(), in, handMeasure,
                          motion->maxRatio() * measure(velocities));
  }
}

// With joints at their limits and a task that drives the first of them into its limit, no joint
// at a limit moves toward it. With one such joint the six remaining columns still meet the
// commanded flange velocity; with two, the five left generally cannot, and the filter reports it
// and holds the arm still.
TEST(KtRateFiltersTest, EndEffectorErrorFilterStopsJointsAtLimitsAndKeepsTheTask) {
  TestRandom rng(904);
  for (int trial = 0; trial < 40; ++trial) {
    FlangeControl arm(rng);
    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    std::vector<std::size_t> stops = {pick(rng, 7)};
    if (trial % 4 == 3) stops.push_back((stops[0] + 1 + pick(rng, 6)) % 7);
    std::vector<bool> upper;
    KtPositionState placed = arm.stated.state().positionStates()[0];
    for (std::size_t i = 0; i < 7; ++i) {
      const KtManipulatorLink& link = manipulator.link(i);
      placed.jointPositions()[i] =
          rng.uniform(link.lowerLimitConstraint() + 0.1, link.upperLimitConstraint() - 0.1);
    }
    for (std::size_t joint : stops) {
      upper.push_back(rng.uniform(0.0, 1.0) < 0.5);
      const KtManipulatorLink& link = manipulator.link(joint);
      placed.jointPositions()[joint] =
          upper.back() ? link.upperLimitConstraint() : link.lowerLimitConstraint();
    }
    arm.stated.setIndividualState(0, placed);
    auto owned = around<ErrorFilter>(std::make_unique<KtControlExpressionCore>());
    owned->setWeights(randomWeights(rng, 7, 0.2));
    ErrorFilter& filter = *owned;
    arm.description().controlExpressionContainer().setExpression(std::move(owned));

    // The core's rates are linear in the commanded velocity: reversing it reverses them.
    KtManipulatorEndEffectorVelocity velocities = randomVelocities(*arm.control.endEffectorSet(0), rng);
    Rates rates;
    PrintCapture capture;
    arm.description().calculateJointRates(arm.stated, 0, &velocities, rates);
    if ((filter.unfilteredRates().value().column()[stops[0]] > 0.0) != upper[0])
      for (double& v : velocities.velocity(0)) v = -v;
    capture.clear();
    const bool solved = arm.description().calculateJointRates(arm.stated, 0, &velocities, rates);
    for (std::size_t k = 0; k < stops.size(); ++k)
      EXPECT_LE(upper[k] ? rates[stops[k]] : -rates[stops[k]], 0.0);
    EXPECT_TRUE(solved || stops.size() == 2);
    if (solved) {
      expectNear(times(arm.jacobian(), rates), velocities.velocity(0), 1e-8);
      EXPECT_EQ(rates[stops[0]], 0.0);
      EXPECT_EQ(capture.text(), "");
    } else {
      EXPECT_EQ(rates, Rates(7, 0.0));
      EXPECT_EQ(capture.text(),
                "KtControlExpressionEndEffectorErrorFilter::calculateFilteredRates(): initial and final hand "
                "velocities are not compatible.\n");
    }
  }
}

// Constant commanded rates are approached step by step without overshoot and reached in the
// end; without lag they pass at once; a step limit bounds every change, clipping columns on their
// own or scaling the change along its direction (which, with one lag for all, is the direction
// toward the input).
TEST(KtRateFiltersTest, SimulationFilterLagsTowardConstantRatesWithinItsStepLimit) {
  TestRandom rng(905);
  for (int trial = 0; trial < 30; ++trial) {
    const std::size_t n = 1 + pick(rng, 13);
    const Rates in = manipulator_test::randomJoints(rng, n, 2.0);
    const auto option = static_cast<KtRateStepLimit>(trial % 3);
    Rates lags(n, option == KtRateStepLimit::none ? 0.0 : rng.uniform(0.0, 0.5));
    if (option == KtRateStepLimit::perJoint)
      for (double& lag : lags) lag = rng.uniform(0.0, 0.5);
    auto filter = around<SimulationFilter>(literalColumn(in));
    filter->setWeights(lags);
    filter->setThresholdOption(option);
    filter->setThreshold(rng.uniform(0.01, 0.5));
    KtControlContext context = columnsOnly(n);
    context.timeStep = rng.uniform(0.01, 0.05);
    ASSERT_TRUE(filter->prepare(context));
    Rates previous(n, 0.0), change(n), wanted(n);
    for (int step = 0; step < 1500; ++step) {
      ASSERT_TRUE(filter->evaluate(context));
      const Rates& out = filter->value().column();
      for (std::size_t i = 0; i < n; ++i) {
        change[i] = out[i] - previous[i];
        wanted[i] = in[i] - previous[i];
        EXPECT_GE(change[i] * wanted[i], 0.0);
        const double limit = option == KtRateStepLimit::none ? std::fabs(wanted[i]) : filter->threshold();
        EXPECT_LE(std::fabs(change[i]), std::min(std::fabs(wanted[i]), limit) + 1e-15);
      }
      if (option == KtRateStepLimit::scaled) expectParallel(change, wanted, 1e-14);
      if (option == KtRateStepLimit::none) {
        EXPECT_EQ(out, in);
      }
      previous = out;
    }
    expectNear(previous, in, 1e-9);
  }
}

// The base's motion, measured independently by central differences of the vehicle frame over
// the base pose, keeps only its forward velocity and its yaw rate times the factor; joint rates
// pass unchanged, and a fixed base passes everything.
TEST(KtRateFiltersTest, PlanarTracksFilterKeepsForwardMotionAndScaledYawOfTheVehicleFrame) {
  TestRandom rng(906);
  for (int trial = 0; trial < 20; ++trial) {
    FlangeControl arm(rng);
    const KtIndividualManipulator& manipulator = arm.stated.system().manipulator(0);
    KtPositionState posed = arm.stated.state().positionStates()[0];
    posed.setCoordinateSystemTransform(manipulator_test::randomPose(rng));
    arm.stated.setIndividualState(0, posed);
    const Rates in = manipulator_test::randomJoints(rng, 13, 1.0), joints(in.begin(), in.begin() + 7);
    auto filter = around<TracksFilter>(literalColumn(in));
    filter->setAngularRateFactor(rng.uniform(-1.0, 2.0));
    filter->setBaseFilterFrameInPrimary(manipulator_test::randomPose(rng));
    // The vehicle frame with the base pose moved on by base rates over a time t.
    auto vehicleAt = [&](const Rates& rates, double t) {
      const Kt::Vector linear(rates[7], rates[8], rates[9]), angular(rates[10], rates[11], rates[12]);
      Kt::coordinateSystemTransformation pose = posed.coordinateSystemTransform();
      Kt::Orientation turn;
      turn.setFromAngleAxis(t * angular.mag(), angular * (1.0 / angular.mag()));
      pose.setTranslation(pose.translation() + linear * t);
      pose.setOrientation(turn * pose.orientation());
      KtPositionState moved = posed;
      moved.setCoordinateSystemTransform(pose);
      arm.stated.setIndividualState(0, moved);
      return manipulator.primaryFrameInSystem(*arm.stated.activeState(0)) *
             filter->baseFilterFrameInPrimary();
    };
    // Its velocity and angular velocity in its own axes.
    auto vehicleMotion = [&](const Rates& rates) {
      const double h = 1e-6;
      const Kt::coordinateSystemTransformation before = vehicleAt(rates, -h), after = vehicleAt(rates, h);
      const Kt::Orientation toVehicle = vehicleAt(rates, 0.0).orientation().inverse();
      return std::pair(
          toVehicle * ((after.translation() - before.translation()) * (0.5 / h)),
          toVehicle * manipulator_test::angularRate(before.orientation(), after.orientation(), 2 * h));
    };
    KtControlContext context = columnsOnly(13);
    context.manipulator = &manipulator;
    context.state = arm.stated.activeState(0);
    ASSERT_TRUE(run(*filter, context));
    const Rates out = filter->value().column();
    const auto [linearIn, angularIn] = vehicleMotion(in);
    const auto [linearOut, angularOut] = vehicleMotion(out);
    manipulator_test::expectNear(linearOut, Kt::Vector(linearIn[0], 0.0, 0.0), 1e-6, "velocity");
    manipulator_test::expectNear(angularOut, Kt::Vector(0.0, 0.0, filter->angularRateFactor() * angularIn[2]),
                                 1e-6, "angular velocity");
    EXPECT_EQ(Rates(out.begin(), out.begin() + 7), joints);

    filter->unfilteredRates().setExpression(literalColumn(joints));
    context.columnCount = 7;
    ASSERT_TRUE(run(*filter, context));
    EXPECT_EQ(filter->value().column(), joints);
  }
}

// All five filters around a core on a free base, with joints stopping and every bound active:
// once prepared, a control step allocates nothing.
TEST(KtRateFiltersTest, AChainOfEveryFilterEvaluatesWithoutAllocating) {
  TestRandom rng(907);
  FlangeControl arm(rng);
  arm.description().setIsFixedBase(false);
  auto error = around<ErrorFilter>(std::make_unique<KtControlExpressionCore>());
  // So wide a range that every joint that moves is stopped; the base columns take over.
  error->setJointLimitStoppingRange(10.0);
  auto motion = around<MotionFilter>(std::move(error));
  motion->setMaxRatio(0.5);
  auto jointRate = around<JointRateFilter>(std::move(motion));
  jointRate->setThreshold(0.01);
  auto simulation = around<SimulationFilter>(std::move(jointRate));
  simulation->setWeights(Rates(13, 0.1));
  simulation->setThresholdOption(KtRateStepLimit::scaled);
  simulation->setThreshold(1e-4);
  arm.description().controlExpressionContainer().setExpression(around<TracksFilter>(std::move(simulation)));

  const KtManipulatorEndEffectorVelocity velocities = randomVelocities(*arm.control.endEffectorSet(0), rng);
  Rates rates;
  ASSERT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates, 0.01));
  EXPECT_EQ(Rates(rates.begin(), rates.begin() + 7), Rates(7, 0.0));
  NoAllocationGuard guard;
  EXPECT_TRUE(arm.description().calculateJointRates(arm.stated, 0, &velocities, rates, 0.01));
}
