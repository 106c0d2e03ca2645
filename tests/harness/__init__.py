"""The parts of the tests of the running program; each folder groups what changes together."""
