// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Glyph.h>

#include <gtest/gtest.h>

#include <iterator>
#include <set>

namespace sentrel {

namespace {

struct Named {
    const char* name;
    std::string_view glyph;
    unsigned codePoint;
};

const Named table[] = {{"wifi", Glyph::wifi, 0xE062},
                       {"bug", Glyph::bug, 0xE1F2},
                       {"internet", Glyph::internet, 0xE2C4},
                       {"triangleUp", Glyph::triangleUp, 0xE600},
                       {"triangleDown", Glyph::triangleDown, 0xE601},
                       {"triangleUpSmall", Glyph::triangleUpSmall, 0xE602},
                       {"triangleDownSmall", Glyph::triangleDownSmall, 0xE603},
                       {"triangleLeftLarge", Glyph::triangleLeftLarge, 0xE604},
                       {"triangleRightLarge", Glyph::triangleRightLarge, 0xE605},
                       {"arrowLeft", Glyph::arrowLeft, 0xE606},
                       {"arrowRight", Glyph::arrowRight, 0xE607},
                       {"plus", Glyph::plus, 0xE608},
                       {"cross", Glyph::cross, 0xE609},
                       {"check", Glyph::check, 0xE60A},
                       {"radioUnchecked", Glyph::radioUnchecked, 0xE60B},
                       {"radioChecked", Glyph::radioChecked, 0xE60C},
                       {"checkboxUnchecked", Glyph::checkboxUnchecked, 0xE60D},
                       {"checkboxChecked", Glyph::checkboxChecked, 0xE60E},
                       {"infoCircle", Glyph::infoCircle, 0xE60F},
                       {"alertCircle", Glyph::alertCircle, 0xE610},
                       {"questionCircle", Glyph::questionCircle, 0xE611},
                       {"checkCircle", Glyph::checkCircle, 0xE612},
                       {"crossCircle", Glyph::crossCircle, 0xE613},
                       {"plusCircle", Glyph::plusCircle, 0xE614},
                       {"pause", Glyph::pause, 0xE615},
                       {"play", Glyph::play, 0xE616},
                       {"volume", Glyph::volume, 0xE617},
                       {"mute", Glyph::mute, 0xE618},
                       {"resize", Glyph::resize, 0xE619},
                       {"list", Glyph::list, 0xE61A},
                       {"listThumbnailed", Glyph::listThumbnailed, 0xE61B},
                       {"listSmallThumbnails", Glyph::listSmallThumbnails, 0xE61C},
                       {"listLargeThumbnails", Glyph::listLargeThumbnails, 0xE61D},
                       {"listNumbered", Glyph::listNumbered, 0xE61E},
                       {"listColumned", Glyph::listColumned, 0xE61F},
                       {"listBulleted", Glyph::listBulleted, 0xE620},
                       {"window", Glyph::window, 0xE621},
                       {"windows", Glyph::windows, 0xE622},
                       {"loop", Glyph::loop, 0xE623},
                       {"cmd", Glyph::cmd, 0xE624},
                       {"mic", Glyph::mic, 0xE625},
                       {"heart", Glyph::heart, 0xE626},
                       {"location", Glyph::location, 0xE627},
                       {"new", Glyph::new_, 0xE628},
                       {"video", Glyph::video, 0xE629},
                       {"photo", Glyph::photo, 0xE62A},
                       {"time", Glyph::time, 0xE62B},
                       {"eye", Glyph::eye, 0xE62C},
                       {"chat", Glyph::chat, 0xE62D},
                       {"home", Glyph::home, 0xE62E},
                       {"upload", Glyph::upload, 0xE62F},
                       {"search", Glyph::search, 0xE630},
                       {"user", Glyph::user, 0xE631},
                       {"mail", Glyph::mail, 0xE632},
                       {"lock", Glyph::lock, 0xE633},
                       {"power", Glyph::power, 0xE634},
                       {"arrowLeftCircle", Glyph::arrowLeftCircle, 0xE635},
                       {"gear", Glyph::gear, 0xE636},
                       {"bookmark", Glyph::bookmark, 0xE637},
                       {"exit", Glyph::exit, 0xE638},
                       {"trash", Glyph::trash, 0xE639},
                       {"folder", Glyph::folder, 0xE63A},
                       {"bubble", Glyph::bubble, 0xE63B},
                       {"export", Glyph::export_, 0xE63C},
                       {"calendarSolid", Glyph::calendarSolid, 0xE63D},
                       {"star", Glyph::star, 0xE63E},
                       {"star2", Glyph::star2, 0xE63F},
                       {"creditCard", Glyph::creditCard, 0xE640},
                       {"clip", Glyph::clip, 0xE641},
                       {"link", Glyph::link, 0xE642},
                       {"tag", Glyph::tag, 0xE643},
                       {"document", Glyph::document, 0xE644},
                       {"image", Glyph::image, 0xE645},
                       {"facebook", Glyph::facebook, 0xE646},
                       {"youtube", Glyph::youtube, 0xE647},
                       {"vimeo", Glyph::vimeo, 0xE648},
                       {"twitter", Glyph::twitter, 0xE649},
                       {"spotify", Glyph::spotify, 0xE64A},
                       {"skype", Glyph::skype, 0xE64B},
                       {"pinterest", Glyph::pinterest, 0xE64C},
                       {"path", Glyph::path, 0xE64D},
                       {"linkedin", Glyph::linkedin, 0xE64E},
                       {"googlePlus", Glyph::googlePlus, 0xE64F},
                       {"dribbble", Glyph::dribbble, 0xE650},
                       {"behance", Glyph::behance, 0xE651},
                       {"stumbleupon", Glyph::stumbleupon, 0xE652},
                       {"yelp", Glyph::yelp, 0xE653},
                       {"wordpress", Glyph::wordpress, 0xE654},
                       {"windows8", Glyph::windows8, 0xE655},
                       {"vine", Glyph::vine, 0xE656},
                       {"tumblr", Glyph::tumblr, 0xE657},
                       {"paypal", Glyph::paypal, 0xE658},
                       {"lastfm", Glyph::lastfm, 0xE659},
                       {"instagram", Glyph::instagram, 0xE65A},
                       {"html5", Glyph::html5, 0xE65B},
                       {"github", Glyph::github, 0xE65C},
                       {"foursquare", Glyph::foursquare, 0xE65D},
                       {"dropbox", Glyph::dropbox, 0xE65E},
                       {"android", Glyph::android, 0xE65F},
                       {"calendarDay", Glyph::calendarDay, 0xE660},
                       {"arrowUp", Glyph::arrowUp, 0xE661},
                       {"arrowDown", Glyph::arrowDown, 0xE662},
                       {"apple", Glyph::apple, 0xE663},
                       {"phone", Glyph::phone, 0xE664},
                       {"calendar", Glyph::calendar, 0xE665},
                       {"arrowRightCircle", Glyph::arrowRightCircle, 0xE666},
                       {"arrowUpCircle", Glyph::arrowUpCircle, 0xE667},
                       {"arrowDownCircle", Glyph::arrowDownCircle, 0xE668},
                       {"minusCircle", Glyph::minusCircle, 0xE669},
                       {"spin", Glyph::spin, 0xE66A},
                       {"pieChart", Glyph::pieChart, 0xE99A},
                       {"statsBars", Glyph::statsBars, 0xE99D},
                       {"cloud", Glyph::cloud, 0xE9C1},
                       {"database", Glyph::database, 0xEA90}};

// The only character of a text of three bytes, or 0.
unsigned onlyCodePoint(std::string_view text) {
    if (text.size() != 3)
        return 0;
    unsigned bytes[3];
    for (std::size_t i = 0; i < 3; ++i)
        bytes[i] = static_cast<unsigned char>(text[i]);
    if ((bytes[0] & 0xF0U) != 0xE0U || (bytes[1] & 0xC0U) != 0x80U || (bytes[2] & 0xC0U) != 0x80U)
        return 0;
    return (bytes[0] & 0x0FU) << 12 | (bytes[1] & 0x3FU) << 6 | (bytes[2] & 0x3FU);
}

TEST(Glyph, IsOneCharacterAtItsPlaceOfTheIconFont) {
    for (const Named& named : table)
        EXPECT_EQ(onlyCodePoint(named.glyph), named.codePoint) << named.name;
}

TEST(Glyph, HasAHundredAndFourteenNamesWithoutASharedPlace) {
    std::set<unsigned> places;
    for (const Named& named : table)
        places.insert(named.codePoint);
    EXPECT_EQ(std::size(table), 114U);
    EXPECT_EQ(places.size(), 114U);
    for (unsigned place = 0xE600; place <= 0xE66A; ++place)
        EXPECT_EQ(places.count(place), 1U) << place;
}

} // namespace

} // namespace sentrel
