// Placeholder until the entry lands.
