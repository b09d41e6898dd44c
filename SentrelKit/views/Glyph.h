#pragma once

/// The characters of the icon font "Flat-UI-Pro-Icons": each constant is a text (UTF-8) of one character of its
/// private-use area, to be set in `FUIFont::glyph(size)`. Any thread.

#include <SentrelKit/Export.h>

#include <string_view>

namespace sentrel {

struct Glyph {
    static constexpr std::string_view wifi{"\uE062"};
    static constexpr std::string_view bug{"\uE1F2"};
    static constexpr std::string_view internet{"\uE2C4"};
    static constexpr std::string_view triangleUp{"\uE600"};
    static constexpr std::string_view triangleDown{"\uE601"};
    static constexpr std::string_view triangleUpSmall{"\uE602"};
    static constexpr std::string_view triangleDownSmall{"\uE603"};
    static constexpr std::string_view triangleLeftLarge{"\uE604"};
    static constexpr std::string_view triangleRightLarge{"\uE605"};
    static constexpr std::string_view arrowLeft{"\uE606"};
    static constexpr std::string_view arrowRight{"\uE607"};
    static constexpr std::string_view plus{"\uE608"};
    static constexpr std::string_view cross{"\uE609"};
    static constexpr std::string_view check{"\uE60A"};
    static constexpr std::string_view radioUnchecked{"\uE60B"};
    static constexpr std::string_view radioChecked{"\uE60C"};
    static constexpr std::string_view checkboxUnchecked{"\uE60D"};
    static constexpr std::string_view checkboxChecked{"\uE60E"};
    static constexpr std::string_view infoCircle{"\uE60F"};
    static constexpr std::string_view alertCircle{"\uE610"};
    static constexpr std::string_view questionCircle{"\uE611"};
    static constexpr std::string_view checkCircle{"\uE612"};
    static constexpr std::string_view crossCircle{"\uE613"};
    static constexpr std::string_view plusCircle{"\uE614"};
    static constexpr std::string_view pause{"\uE615"};
    static constexpr std::string_view play{"\uE616"};
    static constexpr std::string_view volume{"\uE617"};
    static constexpr std::string_view mute{"\uE618"};
    static constexpr std::string_view resize{"\uE619"};
    static constexpr std::string_view list{"\uE61A"};
    static constexpr std::string_view listThumbnailed{"\uE61B"};
    static constexpr std::string_view listSmallThumbnails{"\uE61C"};
    static constexpr std::string_view listLargeThumbnails{"\uE61D"};
    static constexpr std::string_view listNumbered{"\uE61E"};
    static constexpr std::string_view listColumned{"\uE61F"};
    static constexpr std::string_view listBulleted{"\uE620"};
    static constexpr std::string_view window{"\uE621"};
    static constexpr std::string_view windows{"\uE622"};
    static constexpr std::string_view loop{"\uE623"};
    static constexpr std::string_view cmd{"\uE624"};
    static constexpr std::string_view mic{"\uE625"};
    static constexpr std::string_view heart{"\uE626"};
    static constexpr std::string_view location{"\uE627"};
    static constexpr std::string_view new_{"\uE628"};
    static constexpr std::string_view video{"\uE629"};
    static constexpr std::string_view photo{"\uE62A"};
    static constexpr std::string_view time{"\uE62B"};
    static constexpr std::string_view eye{"\uE62C"};
    static constexpr std::string_view chat{"\uE62D"};
    static constexpr std::string_view home{"\uE62E"};
    static constexpr std::string_view upload{"\uE62F"};
    static constexpr std::string_view search{"\uE630"};
    static constexpr std::string_view user{"\uE631"};
    static constexpr std::string_view mail{"\uE632"};
    static constexpr std::string_view lock{"\uE633"};
    static constexpr std::string_view power{"\uE634"};
    static constexpr std::string_view arrowLeftCircle{"\uE635"};
    static constexpr std::string_view gear{"\uE636"};
    static constexpr std::string_view bookmark{"\uE637"};
    static constexpr std::string_view exit{"\uE638"};
    static constexpr std::string_view trash{"\uE639"};
    static constexpr std::string_view folder{"\uE63A"};
    static constexpr std::string_view bubble{"\uE63B"};
    static constexpr std::string_view export_{"\uE63C"};
    static constexpr std::string_view calendarSolid{"\uE63D"};
    static constexpr std::string_view star{"\uE63E"};
    static constexpr std::string_view star2{"\uE63F"};
    static constexpr std::string_view creditCard{"\uE640"};
    static constexpr std::string_view clip{"\uE641"};
    static constexpr std::string_view link{"\uE642"};
    static constexpr std::string_view tag{"\uE643"};
    static constexpr std::string_view document{"\uE644"};
    static constexpr std::string_view image{"\uE645"};
    static constexpr std::string_view facebook{"\uE646"};
    static constexpr std::string_view youtube{"\uE647"};
    static constexpr std::string_view vimeo{"\uE648"};
    static constexpr std::string_view twitter{"\uE649"};
    static constexpr std::string_view spotify{"\uE64A"};
    static constexpr std::string_view skype{"\uE64B"};
    static constexpr std::string_view pinterest{"\uE64C"};
    static constexpr std::string_view path{"\uE64D"};
    static constexpr std::string_view linkedin{"\uE64E"};
    static constexpr std::string_view googlePlus{"\uE64F"};
    static constexpr std::string_view dribbble{"\uE650"};
    static constexpr std::string_view behance{"\uE651"};
    static constexpr std::string_view stumbleupon{"\uE652"};
    static constexpr std::string_view yelp{"\uE653"};
    static constexpr std::string_view wordpress{"\uE654"};
    static constexpr std::string_view windows8{"\uE655"};
    static constexpr std::string_view vine{"\uE656"};
    static constexpr std::string_view tumblr{"\uE657"};
    static constexpr std::string_view paypal{"\uE658"};
    static constexpr std::string_view lastfm{"\uE659"};
    static constexpr std::string_view instagram{"\uE65A"};
    static constexpr std::string_view html5{"\uE65B"};
    static constexpr std::string_view github{"\uE65C"};
    static constexpr std::string_view foursquare{"\uE65D"};
    static constexpr std::string_view dropbox{"\uE65E"};
    static constexpr std::string_view android{"\uE65F"};
    static constexpr std::string_view calendarDay{"\uE660"};
    static constexpr std::string_view arrowUp{"\uE661"};
    static constexpr std::string_view arrowDown{"\uE662"};
    static constexpr std::string_view apple{"\uE663"};
    static constexpr std::string_view phone{"\uE664"};
    static constexpr std::string_view calendar{"\uE665"};
    static constexpr std::string_view arrowRightCircle{"\uE666"};
    static constexpr std::string_view arrowUpCircle{"\uE667"};
    static constexpr std::string_view arrowDownCircle{"\uE668"};
    static constexpr std::string_view minusCircle{"\uE669"};
    static constexpr std::string_view spin{"\uE66A"};
    static constexpr std::string_view pieChart{"\uE99A"};
    static constexpr std::string_view statsBars{"\uE99D"};
    static constexpr std::string_view cloud{"\uE9C1"};
    static constexpr std::string_view database{"\uEA90"};
};

} // namespace sentrel
