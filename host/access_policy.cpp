#include "access_policy.h"

#include <algorithm>
#include <cctype>

namespace quilbyhost {

namespace {

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

// Splits "name[:port]" (name possibly "[v6]"); a missing port is HTTP's 80. False when the port
// is not a decimal number or the brackets do not close.
bool splitAuthority(std::string_view authority, std::string& name, int& port) {
  std::size_t colon = std::string_view::npos;
  if (!authority.empty() && authority.front() == '[') {
    const std::size_t close = authority.find(']');
    if (close == std::string_view::npos) return false;
    if (close + 1 < authority.size()) {
      if (authority[close + 1] != ':') return false;
      colon = close + 1;
    }
  } else {
    colon = authority.rfind(':');
  }
  name = lowerCase(authority.substr(0, colon));
  if (colon == std::string_view::npos) {
    port = 80;
    return !name.empty();
  }
  const std::string_view digits = authority.substr(colon + 1);
  if (digits.empty() || digits.size() > 5) return false;
  port = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return false;
    port = port * 10 + (c - '0');
  }
  return !name.empty();
}

}  // namespace

bool isWildcardAddress(std::string_view address) {
  return address == "0.0.0.0" || address == "::" || address == "[::]";
}

std::string hostForm(const std::string& name) {
  if (name.find(':') != std::string::npos && name.front() != '[') return "[" + name + "]";
  return name;
}

AccessPolicy::AccessPolicy(const std::string& bindAddress, int port,
                           std::vector<std::string> extraHosts)
    : port_(port) {
  names_ = {"localhost", "127.0.0.1", "[::1]"};
  if (!isWildcardAddress(bindAddress)) extraHosts.push_back(bindAddress);
  for (const std::string& extra : extraHosts) {
    const std::string name = lowerCase(hostForm(extra));
    if (!name.empty() && std::find(names_.begin(), names_.end(), name) == names_.end()) {
      names_.push_back(name);
    }
  }
  for (const std::string& name : names_) {
    authorities_.push_back(name + ":" + std::to_string(port_));
  }
}

bool AccessPolicy::acceptsAuthority(std::string_view authority) const {
  std::string name;
  int port = 0;
  if (!splitAuthority(authority, name, port) || port != port_) return false;
  return std::find(names_.begin(), names_.end(), name) != names_.end();
}

std::optional<Refusal> AccessPolicy::check(const std::vector<std::string>& hosts,
                                           const std::vector<std::string>& origins) const {
  if (hosts.size() > 1) {
    return Refusal{400, "The request has " + std::to_string(hosts.size()) +
                            " Host headers; one is needed."};
  }
  if (origins.size() > 1) {
    return Refusal{400, "The request has " + std::to_string(origins.size()) +
                            " Origin headers; at most one is accepted."};
  }
  // Browsers never send an empty Origin; "absent" would wave it through.
  if (origins.size() == 1 && origins.front().empty()) {
    return Refusal{400, "The request has an empty Origin header."};
  }
  const auto first = [](const std::vector<std::string>& values) {
    return values.empty() ? std::nullopt : std::optional<std::string>(values.front());
  };
  if (std::optional<std::string> refused = refusal(first(hosts), first(origins))) {
    return Refusal{403, std::move(*refused)};
  }
  return std::nullopt;
}

std::optional<std::string> AccessPolicy::refusal(const std::optional<std::string>& host,
                                                 const std::optional<std::string>& origin) const {
  if (!host) return "The request has no Host header.";
  if (!acceptsAuthority(*host)) {
    return "The Host \"" + *host + "\" is not this host's address; start quilby-host with "
           "--allow-host to accept it.";
  }
  if (!origin) return std::nullopt;
  constexpr std::string_view kScheme = "http://";
  const std::string lower = lowerCase(*origin);
  if (lower.compare(0, kScheme.size(), kScheme) != 0 ||
      !acceptsAuthority(std::string_view(lower).substr(kScheme.size()))) {
    return "Requests from the origin \"" + *origin + "\" are not accepted: only this host's own "
           "pages may drive the sensors.";
  }
  return std::nullopt;
}

}  // namespace quilbyhost
