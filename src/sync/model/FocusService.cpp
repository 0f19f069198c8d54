#include "sync/model/FocusService.h"

#include <algorithm>

namespace velmora {

std::vector<FocusService> FocusService::all() {
  return {
      {"instagram", "Instagram", {"instagram.com"}, {"com.burbn.instagram"}, {}},
      {"youtube", "YouTube", {"youtube.com"}, {"com.google.ios.youtube"}, {}},
      {"x", "X", {"x.com"}, {"com.atebits.Tweetie2"}, {}},
      {"tiktok", "TikTok", {"tiktok.com"}, {"com.zhiliaoapp.musically"}, {}},
      {"whatsapp", "WhatsApp", {"whatsapp.com"}, {"net.whatsapp.WhatsApp"},
       {"net.whatsapp.WhatsApp"}},
      {"discord", "Discord", {"discord.com", "discordapp.com"},
       {"com.hammerandchisel.discord"}, {"com.hnc.Discord"}},
  };
}

std::vector<FocusService> FocusService::named(const std::vector<std::string>& ids) {
  std::vector<FocusService> found;
  const auto known = all();
  for (const auto& id : ids)
    if (const auto it = std::ranges::find(known, id, &FocusService::id); it != known.end())
      found.push_back(*it);
  return found;
}

}  // namespace velmora
