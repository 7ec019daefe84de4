// Profile files: sections, keys and values in plain text, as the settings and the user profiles are kept.
//
// A section is a line "[name]"; a key stands in a line "key=value" below it. Section and key names match
// without regard to ASCII case, the first match counts. Blanks around the equals sign and at the line's ends
// fall away, and so does a pair of quotes around a value. Lines that begin with ";" are comments. Every call
// reads the file anew and holds nothing; it may be of any size, absent, unreadable or no text at all.
//
// A write is atomic for readers: the new file is made aside, put onto the disk and renamed over the old one,
// whose owner and mode it takes. It touches the named keys alone; every other byte stays. Any thread may read
// at any time; writers of one file are the owner's to keep apart.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

// The value of a key, or the default when file, section or key is absent; at most `limit` bytes of either.
std::string ReadProfileString(const std::string& path, std::string_view section, std::string_view key,
                              std::string_view default_value, std::size_t limit);

// The decimal digits at the start of a key's value, 0 with none, at most the largest 32-bit number; the
// default when the key is absent.
std::int32_t ReadProfileInt(const std::string& path, std::string_view section, std::string_view key,
                            std::int32_t default_value);

using ProfileKeys = std::vector<std::pair<std::string, std::string>>;

// Sets keys in place, in their order, adding the section or a key at the section's end where absent. A value
// that would lose blanks or quotes at its ends is put between quotes; a line end in a value becomes a blank.
// A file that is absent is made. False if the file could not be replaced; it then is as it was.
bool WriteProfile(const std::string& path, std::string_view section, const ProfileKeys& keys);

}  // namespace platform
