// A formula often writes one sub-expression several times (`volume / adv20`
// twice in one alpha). When every step of an evaluation runs in C++ and no
// saved states are restored, a function node that reads the same rows through
// the same native operator and parameters as an earlier node holds the same
// row at every t: it becomes a Repeat, whose row is the earlier node's row
// copied, and whose instance takes the earlier instance's state at the end, so
// its saved state is the one stepping it would have given.
#pragma once

#include "evaluator/general_evaluation.hpp"
#include "evaluator/program.hpp"

namespace qm {

void share_repeated_nodes(const GeneralEvaluation& ev, Program& program);

// The Repeat step: the earlier node's row, then the data-NaN check of the node.
void run_repeat(GeneralEvaluation& ev, Program& program, const Instruction& ins);

// Gives each stateful Repeat instance the state of the instance it repeats.
void copy_repeated_states(const Program& program);

}  // namespace qm
