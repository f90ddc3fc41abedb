#include "recorder/boundary/url_parts.h"

#include <algorithm>
#include <utility>

namespace recorder {

namespace {

bool isSlash(char character)
{
    return character == '/' || character == '\\';  // to browsers they are the same
}

bool endsUrl(char character)
{
    const unsigned char lastControl = 0x20, del = 0x7F;
    const auto byte = static_cast<unsigned char>(character);
    return byte <= lastControl || byte == del || character == '"' || character == '<' ||
           character == '>';
}

class Parts {
public:
    explicit Parts(std::string_view text) : text_(text) {}

    void addUrl(size_t end)
    {
        const size_t fragment = std::min(text_.find('#', added_), end);
        const size_t query = std::min(text_.find('?', added_), fragment);
        addNames(query);
        add(std::min(query + 1, fragment), false);  // with its mark
        add(fragment, true);
        add(std::min(fragment + 1, end), false);
        add(end, true);
    }

    void addPublic(size_t end) { add(end, false); }

    size_t added() const { return added_; }
    std::vector<UrlPart>& all() { return all_; }

private:
    /// What stands between slashes and an '@' before the next.
    void addNames(size_t end)
    {
        const auto begin = text_.begin();
        const auto last = begin + static_cast<long>(end);
        auto place = begin + static_cast<long>(added_);
        const auto isDouble = [](char one, char other) { return isSlash(one) && isSlash(other); };
        while ((place = std::adjacent_find(place, last, isDouble)) != last) {
            const auto authority = std::find_if_not(place, last, isSlash);
            place = std::find_if(authority, last, isSlash);
            const size_t from = static_cast<size_t>(authority - begin);
            const std::string_view host =
                text_.substr(from, static_cast<size_t>(place - authority));
            if (const size_t mark = host.rfind('@'); mark != std::string_view::npos) {
                add(from, false);
                add(from + mark, true);
            }
        }
    }

    void add(size_t to, bool isPrivate)
    {
        if (to <= added_)
            return;
        all_.push_back({text_.substr(added_, to - added_), isPrivate});
        added_ = to;
    }

    const std::string_view text_;
    size_t added_ = 0;
    std::vector<UrlPart> all_;
};

}  // namespace

std::vector<UrlPart> partsOfUrl(std::string_view url)
{
    Parts parts(url);
    parts.addUrl(url.size());
    return std::move(parts.all());
}

std::vector<UrlPart> partsOfText(std::string_view text)
{
    const std::string_view mark = "://";
    Parts parts(text);
    for (size_t place = text.find(mark); place != std::string_view::npos;
         place = text.find(mark, parts.added())) {
        const auto isEnd = [text](size_t each) { return endsUrl(text[each]); };
        size_t begin = place;
        while (begin > parts.added() && !isEnd(begin - 1))
            --begin;
        size_t end = place;
        while (end < text.size() && !isEnd(end))
            ++end;
        parts.addPublic(begin);
        parts.addUrl(end);
    }
    parts.addPublic(text.size());
    return std::move(parts.all());
}

bool isNumberOfPart(std::string_view part)
{
    return part.size() > 1 && part.front() == '~' &&
           part.substr(1).find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace recorder
