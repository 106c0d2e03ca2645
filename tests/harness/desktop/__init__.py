"""A desktop session: its session bus, the services on it, trays and panels."""
