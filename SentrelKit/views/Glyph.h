// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <string_view>

namespace sentrel {

/// The characters of the icon font "Flat-UI-Pro-Icons": each constant is a text (UTF-8) of one character of its
/// private-use area, to be set in `FUIFont::glyph(size)`. Any thread.
struct Glyph {
    static constexpr std::string_view wifi{"\uE062"};                ///< U+E062
    static constexpr std::string_view bug{"\uE1F2"};                 ///< U+E1F2
    static constexpr std::string_view internet{"\uE2C4"};            ///< U+E2C4
    static constexpr std::string_view triangleUp{"\uE600"};          ///< U+E600
    static constexpr std::string_view triangleDown{"\uE601"};        ///< U+E601
    static constexpr std::string_view triangleUpSmall{"\uE602"};     ///< U+E602
    static constexpr std::string_view triangleDownSmall{"\uE603"};   ///< U+E603
    static constexpr std::string_view triangleLeftLarge{"\uE604"};   ///< U+E604
    static constexpr std::string_view triangleRightLarge{"\uE605"};  ///< U+E605
    static constexpr std::string_view arrowLeft{"\uE606"};           ///< U+E606
    static constexpr std::string_view arrowRight{"\uE607"};          ///< U+E607
    static constexpr std::string_view plus{"\uE608"};                ///< U+E608
    static constexpr std::string_view cross{"\uE609"};               ///< U+E609
    static constexpr std::string_view check{"\uE60A"};               ///< U+E60A
    static constexpr std::string_view radioUnchecked{"\uE60B"};      ///< U+E60B
    static constexpr std::string_view radioChecked{"\uE60C"};        ///< U+E60C
    static constexpr std::string_view checkboxUnchecked{"\uE60D"};   ///< U+E60D
    static constexpr std::string_view checkboxChecked{"\uE60E"};     ///< U+E60E
    static constexpr std::string_view infoCircle{"\uE60F"};          ///< U+E60F
    static constexpr std::string_view alertCircle{"\uE610"};         ///< U+E610
    static constexpr std::string_view questionCircle{"\uE611"};      ///< U+E611
    static constexpr std::string_view checkCircle{"\uE612"};         ///< U+E612
    static constexpr std::string_view crossCircle{"\uE613"};         ///< U+E613
    static constexpr std::string_view plusCircle{"\uE614"};          ///< U+E614
    static constexpr std::string_view pause{"\uE615"};               ///< U+E615
    static constexpr std::string_view play{"\uE616"};                ///< U+E616
    static constexpr std::string_view volume{"\uE617"};              ///< U+E617
    static constexpr std::string_view mute{"\uE618"};                ///< U+E618
    static constexpr std::string_view resize{"\uE619"};              ///< U+E619
    static constexpr std::string_view list{"\uE61A"};                ///< U+E61A
    static constexpr std::string_view listThumbnailed{"\uE61B"};     ///< U+E61B
    static constexpr std::string_view listSmallThumbnails{"\uE61C"}; ///< U+E61C
    static constexpr std::string_view listLargeThumbnails{"\uE61D"}; ///< U+E61D
    static constexpr std::string_view listNumbered{"\uE61E"};        ///< U+E61E
    static constexpr std::string_view listColumned{"\uE61F"};        ///< U+E61F
    static constexpr std::string_view listBulleted{"\uE620"};        ///< U+E620
    static constexpr std::string_view window{"\uE621"};              ///< U+E621
    static constexpr std::string_view windows{"\uE622"};             ///< U+E622
    static constexpr std::string_view loop{"\uE623"};                ///< U+E623
    static constexpr std::string_view cmd{"\uE624"};                 ///< U+E624
    static constexpr std::string_view mic{"\uE625"};                 ///< U+E625
    static constexpr std::string_view heart{"\uE626"};               ///< U+E626
    static constexpr std::string_view location{"\uE627"};            ///< U+E627
    static constexpr std::string_view new_{"\uE628"};                ///< U+E628
    static constexpr std::string_view video{"\uE629"};               ///< U+E629
    static constexpr std::string_view photo{"\uE62A"};               ///< U+E62A
    static constexpr std::string_view time{"\uE62B"};                ///< U+E62B
    static constexpr std::string_view eye{"\uE62C"};                 ///< U+E62C
    static constexpr std::string_view chat{"\uE62D"};                ///< U+E62D
    static constexpr std::string_view home{"\uE62E"};                ///< U+E62E
    static constexpr std::string_view upload{"\uE62F"};              ///< U+E62F
    static constexpr std::string_view search{"\uE630"};              ///< U+E630
    static constexpr std::string_view user{"\uE631"};                ///< U+E631
    static constexpr std::string_view mail{"\uE632"};                ///< U+E632
    static constexpr std::string_view lock{"\uE633"};                ///< U+E633
    static constexpr std::string_view power{"\uE634"};               ///< U+E634
    static constexpr std::string_view arrowLeftCircle{"\uE635"};     ///< U+E635
    static constexpr std::string_view gear{"\uE636"};                ///< U+E636
    static constexpr std::string_view bookmark{"\uE637"};            ///< U+E637
    static constexpr std::string_view exit{"\uE638"};                ///< U+E638
    static constexpr std::string_view trash{"\uE639"};               ///< U+E639
    static constexpr std::string_view folder{"\uE63A"};              ///< U+E63A
    static constexpr std::string_view bubble{"\uE63B"};              ///< U+E63B
    static constexpr std::string_view export_{"\uE63C"};             ///< U+E63C
    static constexpr std::string_view calendarSolid{"\uE63D"};       ///< U+E63D
    static constexpr std::string_view star{"\uE63E"};                ///< U+E63E
    static constexpr std::string_view star2{"\uE63F"};               ///< U+E63F
    static constexpr std::string_view creditCard{"\uE640"};          ///< U+E640
    static constexpr std::string_view clip{"\uE641"};                ///< U+E641
    static constexpr std::string_view link{"\uE642"};                ///< U+E642
    static constexpr std::string_view tag{"\uE643"};                 ///< U+E643
    static constexpr std::string_view document{"\uE644"};            ///< U+E644
    static constexpr std::string_view image{"\uE645"};               ///< U+E645
    static constexpr std::string_view facebook{"\uE646"};            ///< U+E646
    static constexpr std::string_view youtube{"\uE647"};             ///< U+E647
    static constexpr std::string_view vimeo{"\uE648"};               ///< U+E648
    static constexpr std::string_view twitter{"\uE649"};             ///< U+E649
    static constexpr std::string_view spotify{"\uE64A"};             ///< U+E64A
    static constexpr std::string_view skype{"\uE64B"};               ///< U+E64B
    static constexpr std::string_view pinterest{"\uE64C"};           ///< U+E64C
    static constexpr std::string_view path{"\uE64D"};                ///< U+E64D
    static constexpr std::string_view linkedin{"\uE64E"};            ///< U+E64E
    static constexpr std::string_view googlePlus{"\uE64F"};          ///< U+E64F
    static constexpr std::string_view dribbble{"\uE650"};            ///< U+E650
    static constexpr std::string_view behance{"\uE651"};             ///< U+E651
    static constexpr std::string_view stumbleupon{"\uE652"};         ///< U+E652
    static constexpr std::string_view yelp{"\uE653"};                ///< U+E653
    static constexpr std::string_view wordpress{"\uE654"};           ///< U+E654
    static constexpr std::string_view windows8{"\uE655"};            ///< U+E655
    static constexpr std::string_view vine{"\uE656"};                ///< U+E656
    static constexpr std::string_view tumblr{"\uE657"};              ///< U+E657
    static constexpr std::string_view paypal{"\uE658"};              ///< U+E658
    static constexpr std::string_view lastfm{"\uE659"};              ///< U+E659
    static constexpr std::string_view instagram{"\uE65A"};           ///< U+E65A
    static constexpr std::string_view html5{"\uE65B"};               ///< U+E65B
    static constexpr std::string_view github{"\uE65C"};              ///< U+E65C
    static constexpr std::string_view foursquare{"\uE65D"};          ///< U+E65D
    static constexpr std::string_view dropbox{"\uE65E"};             ///< U+E65E
    static constexpr std::string_view android{"\uE65F"};             ///< U+E65F
    static constexpr std::string_view calendarDay{"\uE660"};         ///< U+E660
    static constexpr std::string_view arrowUp{"\uE661"};             ///< U+E661
    static constexpr std::string_view arrowDown{"\uE662"};           ///< U+E662
    static constexpr std::string_view apple{"\uE663"};               ///< U+E663
    static constexpr std::string_view phone{"\uE664"};               ///< U+E664
    static constexpr std::string_view calendar{"\uE665"};            ///< U+E665
    static constexpr std::string_view arrowRightCircle{"\uE666"};    ///< U+E666
    static constexpr std::string_view arrowUpCircle{"\uE667"};       ///< U+E667
    static constexpr std::string_view arrowDownCircle{"\uE668"};     ///< U+E668
    static constexpr std::string_view minusCircle{"\uE669"};         ///< U+E669
    static constexpr std::string_view spin{"\uE66A"};                ///< U+E66A
    static constexpr std::string_view pieChart{"\uE99A"};            ///< U+E99A
    static constexpr std::string_view statsBars{"\uE99D"};           ///< U+E99D
    static constexpr std::string_view cloud{"\uE9C1"};               ///< U+E9C1
    static constexpr std::string_view database{"\uEA90"};            ///< U+EA90
};

} // namespace sentrel
