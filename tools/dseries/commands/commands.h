#pragma once

#include <CLI/CLI.hpp>

namespace dseries {

// Each of these adds one command to the program: its options, its help, and its action, which runs after
// parsing. A command that fails throws; its results go to standard output.

void AddCreate(CLI::App& program);
void AddAppend(CLI::App& program);
void AddLabel(CLI::App& program);
void AddInfo(CLI::App& program);
void AddList(CLI::App& program);
void AddWatch(CLI::App& program);
void AddGet(CLI::App& program);
void AddFind(CLI::App& program);
void AddVerify(CLI::App& program);
void AddPlot(CLI::App& program);
void AddExport(CLI::App& program);
void AddMap(CLI::App& program);
void AddImage(CLI::App& program);
void AddConvert(CLI::App& program);
void AddRepair(CLI::App& program);
void AddSeal(CLI::App& program);

}  // namespace dseries
