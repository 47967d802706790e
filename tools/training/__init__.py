"""Training of the networks."""
