"""What the tests of the running program are made of: real X servers, the real program, real viewers."""
