// The per-row loop: every node of the program at every row, the root's
// register into the output, and the optional node-output capture.
#pragma once

#include "evaluator/general_evaluation.hpp"
#include "evaluator/program.hpp"

namespace qm {

void run_row_loop(GeneralEvaluation& ev, Program& program);

}  // namespace qm
