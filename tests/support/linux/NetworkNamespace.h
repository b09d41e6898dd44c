// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

namespace sentrel {

/// A new network namespace. It is gone, with all that is in it, once it is released and no socket stands in it.
class NetworkNamespace {
public:
    /// Whether this process may make namespaces.
    [[nodiscard]] static bool available();

    NetworkNamespace();
    ~NetworkNamespace();
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;

    /// A path by which other programs can name it.
    [[nodiscard]] std::string path() const;

    /// Puts the calling thread into the namespace for a scope. Threads and programs that it starts begin there too.
    class Scope {
    public:
        explicit Scope(const NetworkNamespace& space);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        int before_;
    };

    /// Runs "ip" with the arguments in the namespace. Throws if it fails.
    void ip(const std::string& arguments) const;

    /// Runs many "ip" commands at once, one a line.
    void ipBatch(const std::string& commands) const;

    /// A veth pair: `name` here, `peer` in the other namespace; both up, with these IPv4 addresses of one /24 network,
    /// and carrying what is sent from now on.
    void connect(const std::string& name, const std::string& address, const NetworkNamespace& other,
                 const std::string& peer, const std::string& peerAddress) const;

private:
    [[nodiscard]] bool carries(const std::string& name) const;

    int descriptor_ = -1;
};

} // namespace sentrel
