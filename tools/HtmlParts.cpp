#include <tools/HtmlParts.h>
#include <tools/SvgText.h>

namespace LpmTools {

namespace {

std::string opening(std::string_view tag, std::string_view classes) {
    std::string text = "<" + std::string(tag);
    if (!classes.empty()) {
        text += " class=\"" + std::string(classes) + "\"";
    }
    return text + ">";
}

std::string row(std::vector<std::string> const& cells) {
    std::string text = "<tr>";
    for (std::size_t number = 0; number < cells.size(); ++number) {
        std::string const cell = escapedMarkup(cells[number]);
        text += number == 0 ? "<th scope=\"row\">" + cell + "</th>" : "<td>" + cell + "</td>";
    }
    return text + "</tr>\n";
}

}  // namespace

std::string htmlElement(std::string_view tag, std::string_view classes, std::string_view text) {
    return opening(tag, classes) + escapedMarkup(text) + "</" + std::string(tag) + ">\n";
}

std::string htmlName(std::string_view name) {
    return "<bdi>" + escapedMarkup(name) + "</bdi>";
}

std::string htmlTiles(std::string_view classes, std::vector<HtmlTile> const& tiles) {
    std::string text = opening("dl", classes) + "\n";
    for (HtmlTile const& tile : tiles) {
        text +=
            opening("div", tile.bad ? "bad" : "") + "<dt>" + escapedMarkup(tile.label) + "</dt>";
        // A sign beside the colour: not everybody sees the one, not every printer shows it.
        text += "<dd>" +
                std::string(tile.bad ? "<span aria-hidden=\"true\">\u26a0\ufe0e </span>" : "") +
                escapedMarkup(tile.value) + "</dd>";
        if (!tile.note.empty()) {
            text += "<dd class=\"note\">" + escapedMarkup(tile.note) + "</dd>";
        }
        text += "</div>\n";
    }
    return text + "</dl>\n";
}

std::string htmlTable(HtmlTable const& table) {
    if (table.rows.empty()) {
        return {};
    }
    std::string const caption = escapedMarkup(table.caption);
    std::string text = "<details><summary>Numbers<span class=\"unseen\">: " + caption +
                       "</span></summary>\n"
                       "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-label=\"" +
                       caption + "\">\n<table" + (table.numbered ? " class=\"numbered\"" : "") +
                       "><caption>" + caption + "</caption>\n<thead><tr>";
    for (std::string const& head : table.heads) {
        text += "<th scope=\"col\">" + escapedMarkup(head) + "</th>";
    }
    text += "</tr></thead>\n<tbody>\n";
    for (auto const& cells : table.rows) {
        text += row(cells);
    }
    return text + "</tbody></table></div></details>\n";
}

std::string htmlFigure(HtmlFigure const& figure) {
    return "<figure>\n<figcaption>" + htmlElement("h3", "", figure.heading) +
           htmlElement("p", "", figure.sentence) + "</figcaption>\n<div class=\"wide\">" +
           figure.wideSvg + "</div>\n<div class=\"narrow\">" + figure.narrowSvg + "</div>\n" +
           htmlTable(figure.table) + "</figure>\n";
}

}  // namespace LpmTools
