// Keys of addresses: address strings that name the same page get the same key.
//
// All of it works on the text of an address; nothing takes it apart or touches the network. Case
// does not count where keys and suffixes are looked for. An operation that changes nothing gives
// back its text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvy {

// What is left out of a key.
struct SimplificationOptions {
    bool sessionIDs = true;
    bool analytics = true;
    bool indexPages = true;
    bool emptyParams = true;
    bool anchors = true;
};

// The key of the address, in lower case. https and a "www." at the start count as plain http, and
// slashes at the end do not count.
std::u16string simplifiedStringURLByRemovingSessionIDs(std::u16string_view address,
                                                       const SimplificationOptions& options);
// The key with everything left out.
std::u16string simplifiedStringURL(std::u16string_view address);

// The addresses differ only in case, fragment, doubled slashes, dot segments at the end and slashes
// at the end. False when either is none.
bool isEqualToStringURL(std::optional<std::u16string_view> address,
                        std::optional<std::u16string_view> other);

// Escapes of letters, digits, "-", ".", "_" and "~" (RFC 3986's unreserved characters) as those
// characters; the result is not decoded again.
std::u16string stringByReplacingStandardPercentEscapesOfURL(std::u16string_view address);
// Without the fragment, unless it is the route of an application: "#!/..." and "#//...".
std::u16string stringURLWithoutAnchor(std::u16string_view address);
// Doubled slashes made one up to the first "?" or ";", but for those behind a colon; when there is
// neither, without dot segments at the end.
std::u16string standardizedStringURL(std::u16string_view address);
// Without the parameters that tell a session, an affiliate or a way past caches
// (url_session_keys.inc).
std::u16string stringURLByRemovingSessionIDs(std::u16string_view address);
// Without the six parameters of campaigns, "utm_source" and the like.
std::u16string stringURLByRemovingAnalytics(std::u16string_view address);
// Without the parameters whose "=" has nothing behind it; a "?" that no parameter is left behind
// goes too. "?&" becomes "?".
std::u16string stringURLByRemovingEmptyParams(std::u16string_view address);
// Without "/index.html" and its like at the end, slash included.
std::u16string stringURLByRemovingIndexPages(std::u16string_view address);
std::u16string stringByTrimmingSuffixCharacter(std::u16string_view text, char16_t character);

// Beyond what the key leaves out: without the click identifiers and campaign parameters of today's
// mailers, networks and shops (url_tracking_names.inc), and every other "utm_" parameter.
std::u16string stringURLByRemovingTrackingParameters(std::u16string_view address);

// The address of a topic or a thread of a forum.
bool stringURLIsTopicOrThread(std::u16string_view address);

}  // namespace corvy
