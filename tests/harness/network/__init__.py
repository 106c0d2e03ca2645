"""Networks made of network namespaces, and the services on them: mDNS, DNS, HTTP proxy, firewall."""
