// Which HTTP requests the development host accepts: only those addressed to the host itself and
// sent from its own pages.
//
// A web page of another site can make the browser send requests to 127.0.0.1 (a form, a fetch);
// such a request carries that site's Origin and is refused. A site that rebinds its own DNS name
// to 127.0.0.1 sends its own name in Host; that is refused too. Requests without Origin (curl,
// scripts, navigations) are accepted when their Host is right.
#ifndef QUILBY_HOST_ACCESS_POLICY_H
#define QUILBY_HOST_ACCESS_POLICY_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quilbyhost {

// Whether `address` is a wildcard bind address (0.0.0.0, ::, [::]), which names no single host.
bool isWildcardAddress(std::string_view address);

// `name` as it stands in an authority: an IPv6 address in brackets, anything else as it is.
std::string hostForm(const std::string& name);

class AccessPolicy {
 public:
  // `bindAddress` is the address the server listens on and `port` its port. The names accepted in
  // Host are "localhost", "127.0.0.1", "[::1]", the bind address unless it is a wildcard (0.0.0.0,
  // ::), and `extraHosts` (host names or addresses, without port); always with `port`.
  AccessPolicy(const std::string& bindAddress, int port, std::vector<std::string> extraHosts);

  // Nothing when the request may pass; otherwise the sentence to answer with 403. `host` is the
  // Host header (nullopt when absent), `origin` the Origin header (nullopt when absent).
  std::optional<std::string> refusal(const std::optional<std::string>& host,
                                     const std::optional<std::string>& origin) const;

  // The accepted "name:port" authorities, lower case.
  const std::vector<std::string>& authorities() const { return authorities_; }

 private:
  bool acceptsAuthority(std::string_view authority) const;

  std::vector<std::string> names_;
  int port_;
  std::vector<std::string> authorities_;
};

}  // namespace quilbyhost

#endif  // QUILBY_HOST_ACCESS_POLICY_H
