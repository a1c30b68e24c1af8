#include "webdav/xml/EntityNames.h"

#include <algorithm>

#include "webdav/xml/PackedTable.h"

namespace webdav {

namespace {

/// One digit of length, four of the character's code, the name in lower case. Of two names that
/// differ only in case the one with capitals comes first.
constexpr std::string_view kEntries[] = {
    "60193aacute",  "60225aacute",  "50194acirc",  "50226acirc",   "50180acute",    "50198aelig",
    "50230aelig",   "60192agrave",  "60224agrave", "78501alefsym", "50913alpha",    "50945alpha",
    "30038amp",     "38743and",     "38736ang",    "40039apos",    "50197aring",    "50229aring",
    "58776asymp",   "60195atilde",  "60227atilde", "40196auml",    "40228auml",     "58222bdquo",
    "40914beta",    "40946beta",    "60166brvbar", "48226bull",    "38745cap",      "60199ccedil",
    "60231ccedil",  "50184cedil",   "40162cent",   "30935chi",     "30967chi",      "40710circ",
    "59827clubs",   "48773cong",    "40169copy",   "58629crarr",   "38746cup",      "60164curren",
    "68225dagger",  "68224dagger",  "48659darr",   "48595darr",    "30176deg",      "50916delta",
    "50948delta",   "59830diams",   "60247divide", "60201eacute",  "60233eacute",   "50202ecirc",
    "50234ecirc",   "60200egrave",  "60232egrave", "58709empty",   "48195emsp",     "48194ensp",
    "70917epsilon", "70949epsilon", "58801equiv",  "30919eta",     "30951eta",      "30208eth",
    "30240eth",     "40203euml",    "40235euml",   "48364euro",    "58707exist",    "40402fnof",
    "68704forall",  "60189frac12",  "60188frac14", "60190frac34",  "58260frasl",    "50915gamma",
    "50947gamma",   "28805ge",      "20062gt",     "48660harr",    "48596harr",     "69829hearts",
    "68230hellip",  "60205iacute",  "60237iacute", "50206icirc",   "50238icirc",    "50161iexcl",
    "60204igrave",  "60236igrave",  "58465image",  "58734infin",   "38747int",      "40921iota",
    "40953iota",    "60191iquest",  "48712isin",   "40207iuml",    "40239iuml",     "50922kappa",
    "50954kappa",   "60923lambda",  "60955lambda", "49001lang",    "50171laquo",    "48656larr",
    "48592larr",    "58968lceil",   "58220ldquo",  "28804le",      "68970lfloor",   "68727lowast",
    "39674loz",     "38206lrm",     "68249lsaquo", "58216lsquo",   "20060lt",       "40175macr",
    "58212mdash",   "50181micro",   "60183middot", "58722minus",   "20924mu",       "20956mu",
    "58711nabla",   "40160nbsp",    "58211ndash",  "28800ne",      "28715ni",       "30172not",
    "58713notin",   "48836nsub",    "60209ntilde", "60241ntilde",  "20925nu",       "20957nu",
    "60211oacute",  "60243oacute",  "50212ocirc",  "50244ocirc",   "50338oelig",    "50339oelig",
    "60210ograve",  "60242ograve",  "58254oline",  "50937omega",   "50969omega",    "70927omicron",
    "70959omicron", "58853oplus",   "28744or",     "40170ordf",    "40186ordm",     "60216oslash",
    "60248oslash",  "60213otilde",  "60245otilde", "68855otimes",  "40214ouml",     "40246ouml",
    "40182para",    "48706part",    "68240permil", "48869perp",    "30934phi",      "30966phi",
    "20928pi",      "20960pi",      "30982piv",    "60177plusmn",  "50163pound",    "58243prime",
    "58242prime",   "48719prod",    "48733prop",   "30936psi",     "30968psi",      "40034quot",
    "58730radic",   "49002rang",    "50187raquo",  "48658rarr",    "48594rarr",     "58969rceil",
    "58221rdquo",   "48476real",    "30174reg",    "68971rfloor",  "30929rho",      "30961rho",
    "38207rlm",     "68250rsaquo",  "58217rsquo",  "58218sbquo",   "60352scaron",   "60353scaron",
    "48901sdot",    "40167sect",    "30173shy",    "50931sigma",   "50963sigma",    "60962sigmaf",
    "38764sim",     "69824spades",  "38834sub",    "48838sube",    "38721sum",      "38835sup",
    "40185sup1",    "40178sup2",    "40179sup3",   "48839supe",    "50223szlig",    "30932tau",
    "30964tau",     "68756there4",  "50920theta",  "50952theta",   "80977thetasym", "68201thinsp",
    "50222thorn",   "50254thorn",   "50732tilde",  "50215times",   "58482trade",    "60218uacute",
    "60250uacute",  "48657uarr",    "48593uarr",   "50219ucirc",   "50251ucirc",    "60217ugrave",
    "60249ugrave",  "30168uml",     "50978upsih",  "70933upsilon", "70965upsilon",  "40220uuml",
    "40252uuml",    "68472weierp",  "20926xi",     "20958xi",      "60221yacute",   "60253yacute",
    "30165yen",     "40376yuml",    "40255yuml",   "40918zeta",    "40950zeta",     "38205zwj",
    "48204zwnj"};

constexpr PackedTable kEntities{kEntries, 1, 4};
static_assert(kEntities.size() == 253 && kEntities.isSound());

bool hasCapital(std::string_view name) {
    return std::ranges::any_of(name, [](char c) { return c >= 'A' && c <= 'Z'; });
}

}  // namespace

std::optional<char32_t> entityCharacter(std::string_view name) {
    const PackedTable::Entries found = kEntities.find(name);
    const bool capital = hasCapital(name);
    if (found.empty() || (capital && found.size() == 1)) return std::nullopt;
    return kEntities.number(capital ? found.front() : found.back());
}

}  // namespace webdav
