"""What the system tests are made of: real X servers, the real program, real viewers."""
