#ifndef QORHWINFO_TOOL_COMMANDS_H
#define QORHWINFO_TOOL_COMMANDS_H

struct Options;

/**
 * The tool's commands, one source file each. Every one takes the parsed options and returns the exit
 * status of the whole run (exitcode.h).
 */
namespace Commands {

int quick(const Options &options);
int discover(const Options &options);
int inspect(const Options &options);
int check(const Options &options);
int cache(const Options &options);
int provision(const Options &options);
int resolve(const Options &options);
int backup(const Options &options);
int restore(const Options &options);
int history(const Options &options);

} // namespace Commands

#endif
