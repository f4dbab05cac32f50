#include "NaviAddresses.h"

namespace tq {

namespace {

constexpr std::string_view kFile = "config.json";

std::string withScheme(std::string_view server)
{
    return (server.starts_with("http") ? "" : "https://") + std::string(server);
}

} // namespace

TextList componentsSeparatedBy(std::string_view text, char separator)
{
    TextList pieces;
    for (auto end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.emplace_back(text);
    return pieces;
}

std::string formatCorrectNaviServer(std::string_view server)
{
    auto address = withScheme(server);
    if (!address.ends_with(kFile)) {
        address += address.ends_with('/') ? "" : "/";
        address += kFile;
    }
    return address;
}

std::optional<TextList> formatNaviServers(const std::optional<TextList>& servers)
{
    if (!servers || servers->empty())
        return std::nullopt;
    TextList formatted;
    for (const auto& server : *servers) {
        if (!server.empty())
            formatted.push_back(formatCorrectNaviServer(server));
    }
    return formatted;
}

std::optional<TextList> allNaviServers(const OptionalText& token, const std::optional<TextList>& defaults)
{
    if (!defaults)
        return std::nullopt;
    TextList servers;
    if (const auto at = token ? token->rfind('@') : std::string::npos;
        at != std::string::npos && at + 1 < token->size()) {
        for (const auto& piece : componentsSeparatedBy(std::string_view(*token).substr(at + 1), ';'))
            servers.push_back(withScheme(piece));
    }
    servers.insert(servers.end(), defaults->begin(), defaults->end());
    return formatNaviServers(servers);
}

} // namespace tq
