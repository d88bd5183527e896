/// @file What the commands do; see the table for their arguments. All throw Failure, UsageError,
/// Interrupted and the library's exceptions.
#pragma once

class CqImage;

namespace tool {

class Session;
class Words;
struct CommandLine;

// Changes of one picture.
void fnConvert(CqImage& image, const Words& words, Session& session);
void fnResize(CqImage& image, const Words& words, Session& session);
void fnRotate(CqImage& image, const Words& words, Session& session);
void fnAdjust(CqImage& image, const Words& words, Session& session);
void fnFilter(CqImage& image, const Words& words, Session& session);
void fnMerge(CqImage& image, const Words& words, Session& session);

// Whether the words of such a change go together.
void fnCheckFilter(const Words& words);
void fnCheckMerge(const Words& words);

// Commands of their own; they return an exit code.
int fnRunChain(const CommandLine& line);
int fnRunThumbnail(const CommandLine& line);
int fnRunMontage(const CommandLine& line);
int fnRunInfo(const CommandLine& line);
int fnRunPlay(const CommandLine& line);
int fnRunSettings(const CommandLine& line);

} // namespace tool
