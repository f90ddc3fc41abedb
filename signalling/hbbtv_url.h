/// @file
/// The URLs that applications load and that the browser reports, split for comparing and starting.
#ifndef VESTA_SIGNALLING_HBBTV_URL_H
#define VESTA_SIGNALLING_HBBTV_URL_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// A URL in three parts: the address (percent-decoded), the query and the fragment (both as
/// written), and what kind of URL the address is.
///
/// A value: copies are independent, and nothing is validated. A text that is no URL is an address
/// of type `otherURL`. What the getters refer to is borrowed while the URL lives.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED HbbTVURL {
public:
    static constexpr int otherURL = 0;          ///< http:, https:, relative, anything else
    static constexpr int dvbURL = 1;            ///< begins with "dvb:"
    static constexpr int currentAITDVBURL = 2;  ///< begins with "dvb://current.ait/"

    /// Splits `url` at its first "?" and its first "#", decodes the address, then recognises the
    /// type of the decoded address. With the "#" before the "?", the address ends at the "?", and
    /// query and fragment both reach to the end of `url`.
    /// @param url any text, empty and with NUL bytes too. A text stands for its URL wherever one is
    ///        wanted.
    // NOLINTNEXTLINE(hicpp-explicit-conversions): meant
    HbbTVURL(const std::string& url);

    /// The type that the beginning of `url` names. Case counts: "DVB://" is `otherURL`.
    /// @param url taken as it stands, nothing is decoded
    /// @return `otherURL`, `dvbURL` or `currentAITDVBURL`
    static int getURLType(const std::string& url);

    /// `otherURL`, `dvbURL` or `currentAITDVBURL`. It is set by the constructor and stays when
    /// resolveRelativeUrl() changes the address.
    int getType() const { return type_; }

    /// The address: what precedes query and fragment, percent-decoded.
    const std::string& getURL() const { return url_; }

    /// The query without its "?", not decoded; empty where there is none.
    const std::string& getParameters() const { return parameters_; }

    /// The fragment without its "#", not decoded; empty where there is none.
    const std::string& getAnchor() const { return anchor_; }

    /// The three parts joined with "?" and "#", each only where its part is not empty. The address
    /// stays decoded, so the result may differ from the text the URL was made from.
    std::string getFullUrl() const;

    /// What stands between "http://", "https://" or "dvb://" and the next "/" or the end of the
    /// address, port and user part included. An address that begins with none of these yields what
    /// stands before its first "/".
    std::string getHostName() const;

    /// Appends to the query, with "&" between where both sides have something.
    /// @param params without "?" and leading "&"; empty changes nothing
    void addParameters(const std::string& params);

    /// Sets the fragment.
    /// @param anchor without "#"; empty changes nothing
    /// @param overwrite whether a fragment that is already there is replaced
    void addAnchor(const std::string& anchor, bool overwrite);

    /// Makes the address absolute. Query, fragment and type stay as they are.
    ///
    /// A `dvbURL` that contains "dvb://" is absolute; another one gets its first four characters
    /// ("dvb:"; all of them where there are fewer) replaced by the base's address up to its last
    /// "/", and stays as it is where the base has no "/". All other URLs are resolved by the
    /// browser (ve_resolve_relative_url()); they stay as they are when it succeeds without a
    /// result.
    /// @param base the URL to resolve against; may be this very object
    /// @return false only when the browser fails; the URL is then unchanged
    /// @thread{browser} @since 1.0
    bool resolveRelativeUrl(const HbbTVURL& base);

    /// Decodes percent escapes; does not depend on the object. What follows a "%" (at most two
    /// characters) is read as sscanf() reads "%x", so blanks, signs and a single digit are taken
    /// too, and its low 8 bits become one byte. An escape without a value disappears together with
    /// those characters. "+" is an ordinary character.
    std::string urlDecode(const std::string& s) const;

protected:
    /// For URLs whose type is known beforehand, whatever the address says.
    HbbTVURL(const std::string& url, int type);

private:
    int type_ = otherURL;
    std::string url_;
    std::string parameters_;
    std::string anchor_;
};

/// Writes the full URL. @return the stream
/// @thread{one at a time} @since 1.0
VESTA_EXPORTED std::ostream& operator<<(std::ostream& stream, const HbbTVURL& url);

/// A URL that the caller knows to be fetched from the object carousel: of type `dvbURL` whatever
/// its text is. Deliberate: a "dvb://current.ait/" address, too, is of type `dvbURL` here.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED HbbTVDVBURL : public HbbTVURL {
public:
    /// Does not look at the scheme.
    /// @param url split and decoded as by HbbTVURL
    explicit HbbTVDVBURL(const std::string& url);
};

/// "dvb://current.ait/<organisation id>.<application id>" with hexadecimal ids (ETSI TS 102 796,
/// 9.2): names an application of the current AIT. Of type `currentAITDVBURL` whatever its text is.
/// @thread{one at a time} @since 1.0
class VESTA_EXPORTED HbbTVCurrentAITDVBURL : public HbbTVURL {
public:
    /// Splits and decodes as HbbTVURL does, then reads the two ids from the decoded address. They
    /// must be its whole rest: a path after them makes the URL invalid, query and fragment do not.
    explicit HbbTVCurrentAITDVBURL(const std::string& url);

    /// Whether both ids were read.
    bool isValid() const { return valid_; }

    /// Whose application it is. 0 when not valid; an id beyond 32 bits reads as 0xFFFFFFFF.
    uint32_t getOrganisationId() const { return organisationId_; }

    /// Which of them. 0 when not valid; an id beyond 32 bits reads as 0xFFFFFFFF. Applications are
    /// signalled with 16 bits, so a larger value names none.
    uint32_t getApplicationId() const { return applicationId_; }

private:
    bool valid_ = false;
    uint32_t organisationId_ = 0;
    uint32_t applicationId_ = 0;
};

}  // namespace VestaHbbTV

#endif
