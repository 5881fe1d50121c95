// Numbers of the controls and attributes that the engine's own code refers to. The registry
// (core/registry.cpp) holds the full table with names, types, defaults, bounds and docs.
#pragma once

namespace nvrl::id {

// ---- optimiser integer attributes ----
constexpr int kRows = 1001;
constexpr int kSets = 1004;
constexpr int kCols = 1018;
constexpr int kSpareRows = 1019;
constexpr int kNamelength = 1028;          // longest name, in units of 8 characters
constexpr int kMipEnts = 1032;             // columns of type I, B, S, R, P
constexpr int kLpStatus = 1010;
constexpr int kMipStatus = 1011;
constexpr int kOriginalRows = 1124;
constexpr int kProbNameLength = 1158;      // room for the problem name, terminator included
constexpr int kOriginalSets = 1194;
constexpr int kOriginalCols = 1214;
constexpr int kIndicators = 1325;
constexpr int kGenConsAndPwl = 1327;       // general plus piecewise-linear constraints
constexpr int kPwlCons = 1328;
constexpr int kElems = 1002;               // matrix nonzeros
constexpr int kQElems = 1003;              // quadratic objective entries (upper triangle)
constexpr int kQConstraints = 1005;        // rows with a quadratic part
constexpr int kStopStatus = 1020;          // NVRL_STOP_...
constexpr int kSimplexIter = 1021;
constexpr int kBarIter = 1022;
constexpr int kNodes = 1023;
constexpr int kSolutions = 1025;           // MIP solutions found
constexpr int kSolStatus = 1026;           // 1 when a primal solution is available
constexpr int kHasDualRay = 1030;
constexpr int kHasPrimalRay = 1031;
constexpr int kObjSenseAttr = 2008;        // double: 1 minimise, -1 maximise

// ---- optimiser double attributes ----
constexpr int kLpObjVal = 2001;
constexpr int kBestBound = 2002;
constexpr int kMipObjVal = 2003;
constexpr int kMipRelGapAttr = 2004;
constexpr int kSolveTime = 2005;
constexpr int kObjConstant = 2006;
constexpr int kMaxPrimalInfeas = 2009;
constexpr int kMaxDualInfeas = 2010;

// ---- optimiser string attributes ----
constexpr int kVersionAttr = 3001;           // the library version, "major.minor.patch"

// ---- optimiser string controls ----
constexpr int kMpsRhsName = 6001;          // RHS set to read from an MPS file ("" the first)
constexpr int kMpsBoundName = 6002;        // BOUNDS set to read ("" the first)
constexpr int kMpsRangeName = 6003;        // RANGES set to read ("" the first)

// ---- optimiser controls ----
constexpr int kTimeLimit = 7001;           // double, seconds; <= 0 or >= 1e20: none
constexpr int kMipRelGap = 7002;           // double
constexpr int kMipAbsGap = 7003;           // double
constexpr int kFeasTol = 7004;             // double, primal feasibility
constexpr int kOptTol = 7005;              // double, dual feasibility
constexpr int kMipTol = 7006;              // double, integrality
constexpr int kCutoff = 7007;              // double, objective cutoff (in the objective's sense)
constexpr int kBarrierTol = 7008;          // double
constexpr int kNodeLimit = 8001;           // int64, <= 0: none
constexpr int kSolutionLimit = 8002;       // int, <= 0: none
constexpr int kThreads = 8003;             // int, 0 automatic
constexpr int kPresolve = 8004;            // int, 0 off, 1 on
constexpr int kLpAlgorithm = 8005;         // int, 1 automatic, 2 dual, 3 primal, 4 barrier
constexpr int kLogLevel = 8006;            // int, 0 silent, 1 normal, 2 verbose
constexpr int kLpIterLimit = 8007;         // int64, <= 0: none
constexpr int kBarIterLimit = 8008;        // int, <= 0: none
constexpr int kCrossover = 8009;           // int, 0 off, 1 on
constexpr int kLoadLog = 8035;             // int, loading writes a log line
constexpr int kRandomSeed = 22013;         // int

// ---- nonlinear solver ----
constexpr int kSlpRows = 11999;
constexpr int kSlpCols = 12000;
constexpr int kSlpConstantCol = 12013;
constexpr int kSlpCoefs = 12016;
constexpr int kSlpNonlinearRows = 12026;
constexpr int kSlpNlpStatus = 12044;
constexpr int kSlpStateBits = 12062;       // bit 0 constructed, bit 29 presolved
constexpr int kSlpObjSense = 12146;        // double control, 1 minimise, -1 maximise
constexpr int kSlpObjVal = 12179;          // double attribute
constexpr int kSlpAutoPresolve = 12415;    // int control
constexpr int kSlpPostsolve = 12416;       // int control "nslp_postsolve"
constexpr int kSlpIterLimit = 12100;       // int control
constexpr int kSlpIterations = 12101;      // int attribute
constexpr int kSlpStopStatus = 12102;      // int attribute, NVRL_STOP_...
constexpr int kSlpTimeLimit = 12103;       // double control, seconds, 0 none
constexpr int kSlpLogLevel = 12104;        // int control, 0 silent, 1 normal, 2 verbose
constexpr int kSlpStepTol = 12110;         // double control, relative step (closure) tolerance
constexpr int kSlpObjAbsTol = 12111;       // double control
constexpr int kSlpObjRelTol = 12112;       // double control
constexpr int kSlpFeasTol = 12113;         // double control, row violation
constexpr int kSlpInitialStep = 12120;     // double control, initial step bound
constexpr int kSlpMinStep = 12121;         // double control
constexpr int kSlpMaxStep = 12122;         // double control
constexpr int kSlpStepExpand = 12123;      // double control, factor after a good step
constexpr int kSlpStepShrink = 12124;      // double control, factor after a rejected step
constexpr int kSlpPenalty = 12130;         // double control, initial infeasibility penalty
constexpr int kSlpPenaltyGrowth = 12131;   // double control
constexpr int kSlpPenaltyMax = 12132;      // double control
constexpr int kSlpDerivStep = 12140;       // double control, relative finite-difference step
constexpr int kSlpInterruptReason = 12180; // int attribute: last NSLPinterrupt reason, 0 none

// ---- nonlinear solver: interior-point list (settings of the LP subproblems' barrier) ----
constexpr int kSlpIpmUse = 12900;          // int control, 1 solve subproblems by barrier
constexpr int kSlpIpmTol = 12901;          // double control
constexpr int kSlpIpmIterLimit = 12902;    // int control, 0 none

}  // namespace nvrl::id
