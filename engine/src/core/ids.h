// Short names for the control and attribute ids that the engine's own code refers to. The
// numbers live only in the registry table (core/registry.cpp); nvrl.h publishes them as
// constants generated from that table, and these names are aliases of those constants.
#pragma once

#include "nvrl.h"

namespace nvrl::id {

// ---- optimiser integer attributes ----
constexpr int kRows = NVRL_ATTR_ROWS;
constexpr int kSets = NVRL_ATTR_SETS;
constexpr int kCols = NVRL_ATTR_COLUMNS;
constexpr int kSpareRows = NVRL_ATTR_SPARE_ROWS;
constexpr int kNamelength = NVRL_ATTR_NAME_LENGTH;          // longest name, in units of 8 characters
constexpr int kMipEnts = NVRL_ATTR_DISCRETE_COLUMNS;             // columns of type I, B, S, R, P
constexpr int kLpStatus = NVRL_ATTR_LP_STATUS;
constexpr int kMipStatus = NVRL_ATTR_MIP_STATUS;
constexpr int kOriginalRows = NVRL_ATTR_ORIGINAL_ROWS;
constexpr int kProbNameLength = NVRL_ATTR_PROBLEM_NAME_LENGTH;      // room for the problem name, terminator included
constexpr int kOriginalSets = NVRL_ATTR_ORIGINAL_SETS;
constexpr int kOriginalCols = NVRL_ATTR_ORIGINAL_COLUMNS;
constexpr int kIndicators = NVRL_ATTR_INDICATORS;
constexpr int kGenConsAndPwl = NVRL_ATTR_GENERAL_CONSTRAINTS;       // general plus piecewise-linear constraints
constexpr int kPwlCons = NVRL_ATTR_PWL_CONSTRAINTS;
constexpr int kElems = NVRL_ATTR_ELEMENTS;               // matrix nonzeros
constexpr int kQElems = NVRL_ATTR_OBJECTIVE_QUADRATIC_ELEMENTS;              // quadratic objective entries (upper triangle)
constexpr int kQConstraints = NVRL_ATTR_QUADRATIC_ROWS;        // rows with a quadratic part
constexpr int kStopStatus = NVRL_ATTR_STOP_STATUS;          // NVRL_STOP_...
constexpr int kSimplexIter = NVRL_ATTR_SIMPLEX_ITERATIONS;
constexpr int kBarIter = NVRL_ATTR_BARRIER_ITERATIONS;
constexpr int kNodes = NVRL_ATTR_NODES;
constexpr int kSolutions = NVRL_ATTR_MIP_SOLUTIONS;           // MIP solutions found
constexpr int kSolStatus = NVRL_ATTR_SOLUTION_AVAILABLE;           // 1 when a primal solution is available
constexpr int kHasDualRay = NVRL_ATTR_HAS_DUAL_RAY;
constexpr int kHasPrimalRay = NVRL_ATTR_HAS_PRIMAL_RAY;
constexpr int kObjSenseAttr = NVRL_ATTR_OBJECTIVE_SENSE;        // double: 1 minimise, -1 maximise

// ---- optimiser double attributes ----
constexpr int kLpObjVal = NVRL_ATTR_LP_OBJECTIVE;
constexpr int kBestBound = NVRL_ATTR_BEST_BOUND;
constexpr int kMipObjVal = NVRL_ATTR_MIP_OBJECTIVE;
constexpr int kMipRelGapAttr = NVRL_ATTR_MIP_GAP;
constexpr int kSolveTime = NVRL_ATTR_SOLVE_TIME;
constexpr int kObjConstant = NVRL_ATTR_OBJECTIVE_CONSTANT;
constexpr int kMaxPrimalInfeas = NVRL_ATTR_MAX_PRIMAL_INFEASIBILITY;
constexpr int kMaxDualInfeas = NVRL_ATTR_MAX_DUAL_INFEASIBILITY;

// ---- optimiser string attributes ----
constexpr int kVersionAttr = NVRL_ATTR_VERSION;           // the library version, "major.minor.patch"

// ---- optimiser string controls ----
constexpr int kMpsRhsName = NVRL_CTRL_MPS_RHS_NAME;          // RHS set to read from an MPS file ("" the first)
constexpr int kMpsBoundName = NVRL_CTRL_MPS_BOUND_NAME;        // BOUNDS set to read ("" the first)
constexpr int kMpsRangeName = NVRL_CTRL_MPS_RANGE_NAME;        // RANGES set to read ("" the first)

// ---- optimiser controls ----
constexpr int kTimeLimit = NVRL_CTRL_TIME_LIMIT;           // double, seconds; <= 0 or >= 1e20: none
constexpr int kMipRelGap = NVRL_CTRL_MIP_RELATIVE_GAP;           // double
constexpr int kMipAbsGap = NVRL_CTRL_MIP_ABSOLUTE_GAP;           // double
constexpr int kFeasTol = NVRL_CTRL_FEASIBILITY_TOLERANCE;             // double, primal feasibility
constexpr int kOptTol = NVRL_CTRL_OPTIMALITY_TOLERANCE;              // double, dual feasibility
constexpr int kMipTol = NVRL_CTRL_MIPTOL;              // double, integrality
constexpr int kCutoff = NVRL_CTRL_CUTOFF;              // double, objective cutoff (in the objective's sense)
constexpr int kBarrierTol = NVRL_CTRL_BARRIER_TOLERANCE;          // double
constexpr int kNodeLimit = NVRL_CTRL_NODE_LIMIT;           // int64, <= 0: none
constexpr int kSolutionLimit = NVRL_CTRL_SOLUTION_LIMIT;       // int, <= 0: none
constexpr int kThreads = NVRL_CTRL_THREADS;             // int, 0 automatic
constexpr int kPresolve = NVRL_CTRL_PRESOLVE;            // int, 0 off, 1 on
constexpr int kLpAlgorithm = NVRL_CTRL_LP_ALGORITHM;         // int, 1 automatic, 2 dual, 3 primal, 4 barrier
constexpr int kLogLevel = NVRL_CTRL_LOG_LEVEL;            // int, 0 silent, 1 normal, 2 verbose
constexpr int kLpIterLimit = NVRL_CTRL_LP_ITERATION_LIMIT;         // int64, <= 0: none
constexpr int kBarIterLimit = NVRL_CTRL_BARRIER_ITERATION_LIMIT;        // int, <= 0: none
constexpr int kCrossover = NVRL_CTRL_CROSSOVER;           // int, 0 off, 1 on
constexpr int kLoadLog = NVRL_CTRL_LOAD_LOG;             // int, loading writes a log line
constexpr int kRandomSeed = NVRL_CTRL_RANDOM_SEED;         // int
constexpr int kRepairBigM = NVRL_CTRL_REPAIR_BIG_M;          // double, the count penalty's big M
constexpr int kTunerTimeLimit = NVRL_CTRL_TUNER_TIME_LIMIT;   // double, seconds, 0 none
constexpr int kTunerRunTimeLimit = NVRL_CTRL_TUNER_RUN_TIME_LIMIT;  // double, seconds, 0 none
constexpr int kMipHeuristicEffort = NVRL_CTRL_MIP_HEURISTIC_EFFORT;  // double, 0..1
constexpr int kTreeCutRounds = NVRL_CTRL_TREE_CUT_ROUNDS;  // int, root cover-cut rounds
constexpr int kTreePerspective = NVRL_CTRL_TREE_PERSPECTIVE;  // int, -1 auto, 0 none, 1 root, 2 nodes too
constexpr int kTreeSearch = NVRL_CTRL_TREE_SEARCH;         // int, 1: the engine's own branch and bound for MIPs

// ---- nonlinear solver ----
constexpr int kSlpRows = NSLP_ATTR_ROWS;
constexpr int kSlpCols = NSLP_ATTR_COLUMNS;
constexpr int kSlpConstantCol = NSLP_ATTR_CONSTANT_COLUMN;
constexpr int kSlpCoefs = NSLP_ATTR_COEFFICIENTS;
constexpr int kSlpNonlinearRows = NSLP_ATTR_NONLINEAR_ROWS;
constexpr int kSlpNlpStatus = NSLP_ATTR_STATUS;
constexpr int kSlpStateBits = NSLP_ATTR_STATE;       // bit 0 constructed, bit 29 presolved
constexpr int kSlpObjSense = NSLP_CTRL_OBJECTIVE_SENSE;        // double control, 1 minimise, -1 maximise
constexpr int kSlpObjVal = NSLP_ATTR_OBJECTIVE;          // double attribute
constexpr int kSlpAutoPresolve = NSLP_CTRL_AUTO_PRESOLVE;    // int control
constexpr int kSlpPostsolve = NSLP_CTRL_POSTSOLVE;       // int control "nslp_postsolve"
constexpr int kSlpIterLimit = NSLP_CTRL_ITERATION_LIMIT;       // int control
constexpr int kSlpIterations = NSLP_ATTR_ITERATIONS;      // int attribute
constexpr int kSlpStopStatus = NSLP_ATTR_STOP_STATUS;      // int attribute, NVRL_STOP_...
constexpr int kSlpTimeLimit = NSLP_CTRL_TIME_LIMIT;       // double control, seconds, 0 none
constexpr int kSlpLogLevel = NSLP_CTRL_LOG_LEVEL;        // int control, 0 silent, 1 normal, 2 verbose
constexpr int kSlpStepTol = NSLP_CTRL_STEP_TOLERANCE;         // double control, relative step (closure) tolerance
constexpr int kSlpObjAbsTol = NSLP_CTRL_OBJECTIVE_ABSOLUTE_TOLERANCE;       // double control
constexpr int kSlpObjRelTol = NSLP_CTRL_OBJECTIVE_RELATIVE_TOLERANCE;       // double control
constexpr int kSlpFeasTol = NSLP_CTRL_FEASIBILITY_TOLERANCE;         // double control, row violation
constexpr int kSlpOptTol = NSLP_CTRL_OPTIMALITY_TOLERANCE;          // double control, Lagrangian gradient
constexpr int kSlpInitialStep = NSLP_CTRL_INITIAL_STEP_BOUND;     // double control, initial step bound
constexpr int kSlpMinStep = NSLP_CTRL_MIN_STEP_BOUND;         // double control
constexpr int kSlpMaxStep = NSLP_CTRL_MAX_STEP_BOUND;         // double control
constexpr int kSlpStepExpand = NSLP_CTRL_STEP_EXPAND;      // double control, factor after a good step
constexpr int kSlpStepShrink = NSLP_CTRL_STEP_SHRINK;      // double control, factor after a rejected step
constexpr int kSlpPenalty = NSLP_CTRL_PENALTY;         // double control, initial infeasibility penalty
constexpr int kSlpPenaltyGrowth = NSLP_CTRL_PENALTY_GROWTH;   // double control
constexpr int kSlpPenaltyMax = NSLP_CTRL_PENALTY_MAX;      // double control
constexpr int kSlpDerivStep = NSLP_CTRL_DERIVATIVE_STEP;       // double control, relative finite-difference step
constexpr int kSlpInterruptReason = NSLP_ATTR_INTERRUPT_REASON; // int attribute: last NSLPinterrupt reason, 0 none
constexpr int kSlpMsJobs = NSLP_ATTR_MULTISTART_JOBS;            // int attribute, queued jobs
constexpr int kSlpMsJobsRun = NSLP_ATTR_MULTISTART_JOBS_RUN;      // int attribute
constexpr int kSlpMsWinner = NSLP_ATTR_MULTISTART_WINNER;         // int attribute, 0 the base solve
constexpr int kSlpMsJobsOptimal = NSLP_ATTR_MULTISTART_JOBS_OPTIMAL;  // int attribute
constexpr int kSlpMsBaseObj = NSLP_ATTR_MULTISTART_BASE_OBJECTIVE;  // double attribute
constexpr int kSlpMsSeed = NSLP_CTRL_MULTISTART_SEED;             // int control
constexpr int kSlpMsBox = NSLP_CTRL_MULTISTART_BOX;               // double control
constexpr int kSlpMsPerturbation = NSLP_CTRL_MULTISTART_PERTURBATION;  // double control
constexpr int kSlpGlobalStarts = NSLP_CTRL_GLOBAL_STARTS;         // int control

// ---- nonlinear solver: interior-point list (settings of the LP subproblems' barrier) ----
constexpr int kSlpIpmUse = NSLP_CTRL_IPM_SUBPROBLEMS;          // int control, 1 solve subproblems by barrier
constexpr int kSlpIpmTol = NSLP_CTRL_IPM_TOLERANCE;          // double control
constexpr int kSlpIpmIterLimit = NSLP_CTRL_IPM_ITERATION_LIMIT;    // int control, 0 none

}  // namespace nvrl::id
