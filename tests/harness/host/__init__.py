"""The computer around the program: its installation, the journal, terminals and shells."""
