// The options that all commands share which ask for records.
#pragma once

#include <string>

#include "host/cli/print_choice.h"
#include "host/cli/question.h"
#include "host/cli/row_origin.h"

namespace CLI {
class App;
}

namespace packetdb::host {

void AddQuestion(CLI::App& command, QuestionOptions& options);
void AddOrigin(CLI::App& command, OriginOptions& options);
void AddPrintChoice(CLI::App& command, PrintChoice& choice);
void AddExitStatus(CLI::App& command, bool& exit_status);

// An option whose value is empty was meant to say something: "$HOST" of a script, say. Throws
// UsageError for the first one on the parsed command line.
void RefuseEmptyValues(const CLI::App& command, const QuestionOptions& options);

}  // namespace packetdb::host
