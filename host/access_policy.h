// Which HTTP requests the development host accepts: only those addressed to the host itself and
// sent from its own pages.
//
// A web page of another site can make the browser send requests to 127.0.0.1 (a form, a fetch);
// such a request carries that site's Origin and is refused. A site that rebinds its own DNS name
// to 127.0.0.1 sends its own name in Host; that is refused too. Requests without Origin (curl,
// scripts, navigations) are accepted when their Host is right. A request that names its Host or
// Origin twice, or sends an empty Origin, is malformed and refused outright: which of two values
// a proxy or the browser would have honoured is anybody's guess.
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

// Why a request is refused: the HTTP status (400 malformed, 403 not ours) and the sentence.
struct Refusal {
  int status = 403;
  std::string message;
};

class AccessPolicy {
 public:
  // `bindAddress` is the address the server listens on and `port` its port. The names accepted in
  // Host are "localhost", "127.0.0.1", "[::1]", the bind address unless it is a wildcard (0.0.0.0,
  // ::), and `extraHosts` (host names or addresses, without port); always with `port`.
  AccessPolicy(const std::string& bindAddress, int port, std::vector<std::string> extraHosts);

  // Nothing when the request may pass. `hosts` and `origins` are the values of every Host and
  // every Origin header the request carries.
  std::optional<Refusal> check(const std::vector<std::string>& hosts,
                               const std::vector<std::string>& origins) const;

  // The check for a request with at most one of each: nothing when it may pass, otherwise the
  // sentence to answer with 403. nullopt stands for an absent header.
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
