"""X servers, X clients and window managers, and what is to be seen on their displays."""
