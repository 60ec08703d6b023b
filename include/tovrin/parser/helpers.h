// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tovrin/parser/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// GLib's own declaration, so that its headers are not needed here.
typedef struct _GVariant GVariant; // NOLINT(bugprone-reserved-identifier,cert-dcl*,modernize-use-using)

// Free functions for text, numbers, paths, the environment and the host. Texts are bytes; no encoding is assumed, and
// the process's locale changes nothing. Bad input never throws: failures show in the result. Unless a comment says
// otherwise the functions keep no state, log nothing, and may be called from any thread.
namespace Tovrin::Parser::Helpers {

// ---- Text -----------------------------------------------------------------------------------------------------------

// Which empty parts split() keeps.
enum SplitBehaviour : std::int32_t {
    DefaultSplit = 0,   // those at the start and in the middle, not the one behind a separator at the very end
    SkipEmptyParts = 1, // none
    KeepEmptyParts = 2, // all
};

// The text without the white space (space, tab, LF, vertical tab, form feed, CR) at its ends.
TOVRIN_EXPORT std::string trim(const std::string &text);

// The text behind the last separator; the whole text if there is none.
TOVRIN_EXPORT std::string last(const std::string &text, char separator);

// The parts with one separator between neighbours.
TOVRIN_EXPORT std::string join(const std::vector<std::string> &parts, char separator);

// The parts of the text between separators. After `maximumSplits` splits the remainder is one part, but only up to its
// first LF: what follows that is deliberately lost. A negative maximum means no limit. A part that SkipEmptyParts
// leaves out counts as a split too.
//     split("a;;b;", ';')                       -> "a", "", "b"
//     split("a;b;c", ';', 1)                    -> "a", "b;c"
//     split("", ';', -1, KeepEmptyParts)        -> ""
TOVRIN_EXPORT std::vector<std::string> split(const std::string &text, char separator, int maximumSplits = -1,
                                             SplitBehaviour behaviour = DefaultSplit);

// True if every character of the text is in `allowed`, and every character of `required` occurs in the text. `allowed`
// must be sorted by byte value.
TOVRIN_EXPORT bool validateString(const std::string &text, const std::string &allowed, const std::string &required);

// Replaces each character that is not in `allowed` (sorted by byte value) by the escape character, an "x" if
// `hexMarker` is 'x', and its byte value in lower-case hexadecimal. Two deliberate oddities: white space is dropped,
// and a byte below 16 comes out as a space and one digit.
TOVRIN_EXPORT std::string escape(const std::string &text, char escapeCharacter, const std::string &allowed,
                                 char hexMarker);

// Undoes escape(), with and without the "x"; digits of either case. White space is dropped, also between the digits.
// Returns "" if an escape is not followed by two hexadecimal digits.
TOVRIN_EXPORT std::string unescape(const std::string &text, char escapeCharacter);

// ---- Numbers --------------------------------------------------------------------------------------------------------

// The number that the text holds; for int, long long and double.
//
// Leading white space and a sign are accepted, and hexadecimal integers behind "0x" at the very start; there is no
// octal. `ok`, if given, becomes true if the whole text was a number in range. Otherwise the result is what could be
// read from the front: 0 without any digit, the largest or smallest integer, or plus or minus infinity, on overflow.
template <typename T> T stringToNumber(const std::string &text, bool *ok = nullptr);
extern template TOVRIN_EXPORT int stringToNumber<int>(const std::string &text, bool *ok);
extern template TOVRIN_EXPORT long long stringToNumber<long long>(const std::string &text, bool *ok);
extern template TOVRIN_EXPORT double stringToNumber<double>(const std::string &text, bool *ok);

// ---- Paths and environment ------------------------------------------------------------------------------------------

// The part behind the last "/": "" for "a/b/", "b" for "b".
TOVRIN_EXPORT std::string basename2(const std::string &path);

// The part before the last "/", "/" for the root, "." if there is no "/". Nothing is normalised.
TOVRIN_EXPORT std::string dirpath(const std::string &path);

// True if the path can be examined; links are followed, directories count.
TOVRIN_EXPORT bool fileExists(const std::string &path);

// The canonical absolute path of an existing file, with all links resolved; "" on any failure.
TOVRIN_EXPORT std::string realpath2(const std::string &path);

// The paths that match a shell pattern, unsorted, directories with a "/" behind them; empty if there is none or the
// look-up fails. The system's list of them is deliberately never released: not for a loop without end.
TOVRIN_EXPORT std::vector<std::string> glob2(const std::string &pattern);

// The environment variable, or `fallback` if it is not set. An empty variable is set. As safe against concurrent
// changes of the environment as getenv() is.
TOVRIN_EXPORT std::string getenv2(const char *name, const std::string &fallback);

// ---- Mount entries --------------------------------------------------------------------------------------------------

// True if the entry has the six fields of an fstab line, split at single spaces, that a container accepts: a source
// that begins with "/" or is "tmpfs" or "none", a mount point, a type of "none", "tmpfs" or "devpts", options, "0" and
// "0". Otherwise logs the first rule that is broken and returns false.
TOVRIN_EXPORT bool validMountEntry(const std::string &entry);

// ---- The host -------------------------------------------------------------------------------------------------------

// The value of a variable in a file of NAME=VALUE lines; of several, the last. The name and the value are trimmed, and
// one pair of double quotes around the value is removed. There are no comments, and "export" is no keyword. Nothing
// if the variable is absent or the file cannot be read; `verbose` logs that as an error, otherwise nothing is logged.
// An empty value is a value.
TOVRIN_EXPORT std::optional<std::string> readEnvFile(const std::string &path, const std::string &variable,
                                                     bool verbose);

// The dconf setting of a user as gVariantToString() writes it, "" if there is none. BadUid reads the settings of the
// process, as its environment says now. For a user id, XDG_CONFIG_HOME of the whole process is changed during the call
// and set back afterwards; one that was not set is deliberately left set to "". DCONF_PROFILE may change for the call
// too. Not safe beside other code that uses these variables.
//
// Never returns another user's value. So it returns "" where only that could be had: from a database that a service
// keeps for the user of this process alone; and, for a user other than the one whose configuration folder GLib
// remembers, if a mandatory profile is in force or the home directory has "#" or a newline in its path.
TOVRIN_EXPORT std::string getDconfValue(const std::string &key, std::uint32_t uid);

// The text of a boolean, number, byte or string; takes ownership of the value and releases it. A byte is deliberately
// one raw character. Doubles have six significant digits. "" for null; "" with a warning for any other type.
TOVRIN_EXPORT std::string gVariantToString(GVariant *value);

// The Android property, "" if it is empty or the property library of the container host is not installed. The library
// is looked for once in a process; one that is installed later is not seen.
TOVRIN_EXPORT std::string getprop(const std::string &name);

// The user of the active session on seat0. BadUid, with errno set, if there is none.
TOVRIN_EXPORT std::uint32_t getSeat0ActiveUser();

// As getSeat0ActiveUser(); without an active session, the user of the only session on seat0. Otherwise BadUid. Logs
// its choice as a debug record that ends in the low eight bits of the user id as one raw byte, deliberately; and a
// warning if the sessions cannot be listed, with errno set.
TOVRIN_EXPORT std::uint32_t getSeat0User();

// Stores the name, home directory and primary group of the user in those outputs that are not null. Returns false, and
// stores nothing, if there is no such user or the look-up fails; errno, which the call sets to 0 first, may tell which.
// Uses getpwuid(), so not safe beside other users of it.
TOVRIN_EXPORT bool getUserInfo(std::uint32_t uid, std::string *name, std::string *home, std::uint32_t *groupId);

// The id of the user with this name, or BadUid. Uses getpwnam(), so not safe beside other users of it.
TOVRIN_EXPORT std::uint32_t getUserId(const std::string &name);

// Runs a command line with the shell and returns all that it wrote to its standard output; of a line with a NUL byte,
// only what stands before that. Each argument is appended in single quotes, which are not escaped inside it: never pass
// an argument that holds one. `status`, if given, becomes the raw wait status (0 only for a normal exit with code 0),
// or -1 if the shell could not be started. Failures are logged, the exit code deliberately as one raw byte.
TOVRIN_EXPORT std::string capture(const std::string &command, const std::vector<std::string> &arguments = {},
                                  int *status = nullptr);

} // namespace Tovrin::Parser::Helpers
