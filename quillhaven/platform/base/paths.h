// The platform's operations on paths, which look at the text alone: no file is
// touched, and "." and ".." are names like others. Slashes in a row count as
// one, and all results but those of path() and pathComponents() are without
// slashes in a row or at their end, the path "/" aside. So "http://a/b" is no
// path. All are thread-safe and linear.
#ifndef QUILLHAVEN_PLATFORM_BASE_PATHS_H_
#define QUILLHAVEN_PLATFORM_BASE_PATHS_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillhaven::platform {

// Returns the last name of `path`: "a.txt" of "/tmp/a.txt", "tmp" of "/tmp/",
// "/" of "/", and "" of "".
[[nodiscard]] std::string lastPathComponent(std::string_view path);

// Returns what follows the last period of the last name, or "" when there is no
// period, nothing after it, or nothing before it: "tiff" of "a..tiff", "" of
// ".tiff" and of "a.". Any text counts, blanks too: " Oz" of "Wizard. Oz".
[[nodiscard]] std::string pathExtension(std::string_view path);

// Returns `path` without its extension and the period before it: "/tmp/a" of
// "/tmp/a.tiff", "a." of "a..tiff". Without an extension the path stays.
[[nodiscard]] std::string deletingPathExtension(std::string_view path);

// Returns `path` without its last name: "/tmp" of "/tmp/a/", "/" of "/tmp" and
// of "/", "" of "a".
[[nodiscard]] std::string deletingLastPathComponent(std::string_view path);

// Returns `path` with `component`, which may hold slashes, as its last name:
// "/tmp/a" from "/tmp/" and "a/". An empty one of the two adds nothing.
[[nodiscard]] std::string appendingPathComponent(std::string_view path,
                                                 std::string_view component);

// Returns the names in `path`, with "/" in front for a leading slash and at the
// end for a trailing one: {"/", "tmp", "a", "/"} of "/tmp//a/". The path "/"
// has one component, "" none.
[[nodiscard]] std::vector<std::string> pathComponents(std::string_view path);

// Returns the components joined by slashes. "/" as the first one makes the path
// absolute; "/" or "" as the last one leaves a slash at its end. Other empty
// ones add nothing, so pathComponents() of a path gives it back.
[[nodiscard]] std::string path(
    std::span<const std::string_view> withComponents);

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_BASE_PATHS_H_
