#pragma once

// Feature toggles: JSON files in one directory, each an object of the form {"NAME": true, "OTHER": false}.
// Thread-safety: any thread. The files are read once, by toggleDirectoryIs; later changes to them have no
// effect.

#include <filesystem>
#include <string_view>

// RETURNS: the state of toggle `name` in `file` (a file name such as "OrvSdkRpc.json"); `def` if no directory
// was set, the directory has no such file, or the file does not name the toggle.
bool getToggleState(std::string_view name, std::string_view file, bool def);

// Reads every "*.json" file of the directory.
// THROWS: std::runtime_error, with nothing changed, if the directory cannot be read or a file is malformed;
// the text is one line that names the file and what was expected.
void toggleDirectoryIs(const std::filesystem::path& directory);

// Discards what was read: every toggle has its default again.
void toggleDirectoryDel();
