namespace velmora {}
