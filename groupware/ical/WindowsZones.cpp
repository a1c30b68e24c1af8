#include "groupware/ical/WindowsZones.h"

#include <algorithm>

#include "groupware/ical/AsciiText.h"

namespace groupware {

namespace {

struct ZoneName {
    std::string_view name;
    std::string_view tzdata;
};

constexpr std::string_view kStandardTime = " Standard Time";

/// As the Unicode CLDR maps them, without " Standard Time" at their ends.
constexpr ZoneName kWindows[] = {
    {"AUS Central", "Australia/Darwin"},
    {"AUS Eastern", "Australia/Sydney"},
    {"Afghanistan", "Asia/Kabul"},
    {"Alaskan", "America/Anchorage"},
    {"Aleutian", "America/Adak"},
    {"Altai", "Asia/Barnaul"},
    {"Arab", "Asia/Riyadh"},
    {"Arabian", "Asia/Dubai"},
    {"Arabic", "Asia/Baghdad"},
    {"Argentina", "America/Argentina/Buenos_Aires"},
    {"Astrakhan", "Europe/Astrakhan"},
    {"Atlantic", "America/Halifax"},
    {"Aus Central W.", "Australia/Eucla"},
    {"Azerbaijan", "Asia/Baku"},
    {"Azores", "Atlantic/Azores"},
    {"Bahia", "America/Bahia"},
    {"Bangladesh", "Asia/Dhaka"},
    {"Belarus", "Europe/Minsk"},
    {"Bougainville", "Pacific/Bougainville"},
    {"Canada Central", "America/Regina"},
    {"Cape Verde", "Atlantic/Cape_Verde"},
    {"Caucasus", "Asia/Yerevan"},
    {"Cen. Australia", "Australia/Adelaide"},
    {"Central America", "America/Guatemala"},
    {"Central Asia", "Asia/Almaty"},
    {"Central Brazilian", "America/Cuiaba"},
    {"Central Europe", "Europe/Budapest"},
    {"Central European", "Europe/Warsaw"},
    {"Central Pacific", "Pacific/Guadalcanal"},
    {"Central", "America/Chicago"},
    {"Central Standard Time (Mexico)", "America/Mexico_City"},
    {"Chatham Islands", "Pacific/Chatham"},
    {"China", "Asia/Shanghai"},
    {"Cuba", "America/Havana"},
    {"Dateline", "Etc/GMT+12"},
    {"E. Africa", "Africa/Nairobi"},
    {"E. Australia", "Australia/Brisbane"},
    {"E. Europe", "Europe/Chisinau"},
    {"E. South America", "America/Sao_Paulo"},
    {"Easter Island", "Pacific/Easter"},
    {"Eastern", "America/New_York"},
    {"Eastern Standard Time (Mexico)", "America/Cancun"},
    {"Egypt", "Africa/Cairo"},
    {"Ekaterinburg", "Asia/Yekaterinburg"},
    {"FLE", "Europe/Kiev"},
    {"Fiji", "Pacific/Fiji"},
    {"GMT", "Europe/London"},
    {"GTB", "Europe/Bucharest"},
    {"Georgian", "Asia/Tbilisi"},
    {"Greenland", "America/Nuuk"},
    {"Greenwich", "Atlantic/Reykjavik"},
    {"Haiti", "America/Port-au-Prince"},
    {"Hawaiian", "Pacific/Honolulu"},
    {"India", "Asia/Kolkata"},
    {"Iran", "Asia/Tehran"},
    {"Israel", "Asia/Jerusalem"},
    {"Jordan", "Asia/Amman"},
    {"Kaliningrad", "Europe/Kaliningrad"},
    {"Kamchatka", "Asia/Kamchatka"},
    {"Korea", "Asia/Seoul"},
    {"Libya", "Africa/Tripoli"},
    {"Line Islands", "Pacific/Kiritimati"},
    {"Lord Howe", "Australia/Lord_Howe"},
    {"Magadan", "Asia/Magadan"},
    {"Magallanes", "America/Punta_Arenas"},
    {"Marquesas", "Pacific/Marquesas"},
    {"Mauritius", "Indian/Mauritius"},
    {"Mexico", "America/Mexico_City"},
    {"Mexico Standard Time 2", "America/Chihuahua"},
    {"Mid-Atlantic", "Etc/GMT+2"},
    {"Middle East", "Asia/Beirut"},
    {"Montevideo", "America/Montevideo"},
    {"Morocco", "Africa/Casablanca"},
    {"Mountain", "America/Denver"},
    {"Mountain Standard Time (Mexico)", "America/Chihuahua"},
    {"Myanmar", "Asia/Yangon"},
    {"N. Central Asia", "Asia/Novosibirsk"},
    {"Namibia", "Africa/Windhoek"},
    {"Nepal", "Asia/Kathmandu"},
    {"New Zealand", "Pacific/Auckland"},
    {"Newfoundland", "America/St_Johns"},
    {"Norfolk", "Pacific/Norfolk"},
    {"North Asia East", "Asia/Irkutsk"},
    {"North Asia", "Asia/Krasnoyarsk"},
    {"North Korea", "Asia/Pyongyang"},
    {"Omsk", "Asia/Omsk"},
    {"Pacific SA", "America/Santiago"},
    {"Pacific", "America/Los_Angeles"},
    {"Pacific Standard Time (Mexico)", "America/Tijuana"},
    {"Pakistan", "Asia/Karachi"},
    {"Paraguay", "America/Asuncion"},
    {"Qyzylorda", "Asia/Qyzylorda"},
    {"Romance", "Europe/Paris"},
    {"Russia Time Zone 10", "Asia/Srednekolymsk"},
    {"Russia Time Zone 11", "Asia/Kamchatka"},
    {"Russia Time Zone 3", "Europe/Samara"},
    {"Russian", "Europe/Moscow"},
    {"SA Eastern", "America/Cayenne"},
    {"SA Pacific", "America/Bogota"},
    {"SA Western", "America/La_Paz"},
    {"SE Asia", "Asia/Bangkok"},
    {"Saint Pierre", "America/Miquelon"},
    {"Sakhalin", "Asia/Sakhalin"},
    {"Samoa", "Pacific/Apia"},
    {"Sao Tome", "Africa/Sao_Tome"},
    {"Saratov", "Europe/Saratov"},
    {"Singapore", "Asia/Singapore"},
    {"South Africa", "Africa/Johannesburg"},
    {"South Sudan", "Africa/Juba"},
    {"Sri Lanka", "Asia/Colombo"},
    {"Sudan", "Africa/Khartoum"},
    {"Syria", "Asia/Damascus"},
    {"Taipei", "Asia/Taipei"},
    {"Tasmania", "Australia/Hobart"},
    {"Tocantins", "America/Araguaina"},
    {"Tokyo", "Asia/Tokyo"},
    {"Tomsk", "Asia/Tomsk"},
    {"Tonga", "Pacific/Tongatapu"},
    {"Transbaikal", "Asia/Chita"},
    {"Turkey", "Europe/Istanbul"},
    {"Turks And Caicos", "America/Grand_Turk"},
    {"US Eastern", "America/Indiana/Indianapolis"},
    {"US Mountain", "America/Phoenix"},
    {"UTC", "Etc/UTC"},
    {"UTC+12", "Etc/GMT-12"},
    {"UTC+13", "Etc/GMT-13"},
    {"UTC-02", "Etc/GMT+2"},
    {"UTC-08", "Etc/GMT+8"},
    {"UTC-09", "Etc/GMT+9"},
    {"UTC-11", "Etc/GMT+11"},
    {"Ulaanbaatar", "Asia/Ulaanbaatar"},
    {"Venezuela", "America/Caracas"},
    {"Vladivostok", "Asia/Vladivostok"},
    {"Volgograd", "Europe/Volgograd"},
    {"W. Australia", "Australia/Perth"},
    {"W. Central Africa", "Africa/Lagos"},
    {"W. Europe", "Europe/Berlin"},
    {"W. Mongolia", "Asia/Hovd"},
    {"West Asia", "Asia/Tashkent"},
    {"West Bank", "Asia/Hebron"},
    {"West Pacific", "Pacific/Port_Moresby"},
    {"Yakutsk", "Asia/Yakutsk"},
    {"Yukon", "America/Whitehorse"},
};

/// What stands in Windows' list of zones for people to choose from, where it names no city of
/// tzdata; up to the first "(" or ",".
constexpr ZoneName kShown[] = {
    {"Alaska", "America/Anchorage"},
    {"Arizona", "America/Phoenix"},
    {"Astana", "Asia/Almaty"},
    {"Atlantic Time", "America/Halifax"},
    {"Baja California", "America/Tijuana"},
    {"Brasilia", "America/Sao_Paulo"},
    {"Cabo Verde Is.", "Atlantic/Cape_Verde"},
    {"Cape Verde Is.", "Atlantic/Cape_Verde"},
    {"Central America", "America/Guatemala"},
    {"Central Time", "America/Chicago"},
    {"City of Buenos Aires", "America/Argentina/Buenos_Aires"},
    {"Coordinated Universal Time", "Etc/UTC"},
    {"E. Europe", "Europe/Chisinau"},
    {"Eastern Time", "America/New_York"},
    {"Ekaterinburg", "Asia/Yekaterinburg"},
    {"Greenland", "America/Nuuk"},
    {"Greenwich Mean Time", "Europe/London"},
    {"Hawaii", "Pacific/Honolulu"},
    {"Indiana", "America/Indiana/Indianapolis"},
    {"International Date Line West", "Etc/GMT+12"},
    {"Mountain Time", "America/Denver"},
    {"Newfoundland", "America/St_Johns"},
    {"Nuku'alofa", "Pacific/Tongatapu"},
    {"Pacific Time", "America/Los_Angeles"},
    {"Port Louis", "Indian/Mauritius"},
    {"Samoa", "Pacific/Apia"},
    {"Saskatchewan", "America/Regina"},
    {"Solomon Is.", "Pacific/Guadalcanal"},
    {"Sri Jayawardenepura", "Asia/Colombo"},
    {"West Central Africa", "Africa/Lagos"},
};

std::string_view findIn(std::span<const ZoneName> names, std::string_view name) {
    const auto found = std::ranges::find_if(
        names, [&](const ZoneName& each) { return equalNames(each.name, name); });
    return found == names.end() ? std::string_view() : found->tzdata;
}

}  // namespace

std::string_view tzdataNameOf(std::string_view windowsName) {
    if (windowsName.size() > kStandardTime.size()) {
        const size_t end = windowsName.size() - kStandardTime.size();
        if (equalNames(windowsName.substr(end), kStandardTime))
            windowsName = windowsName.substr(0, end);
    }
    return findIn(kWindows, windowsName);
}

std::string_view tzdataNameOfShown(std::string_view shownName) {
    return findIn(kShown, trimmed(shownName.substr(0, shownName.find_first_of("(,"))));
}

}  // namespace groupware
