// Recipes by name.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

// What toolkits compute when told nothing (docs/guide/conventions.md): "kaldi-mfcc", "kaldi-fbank", "kaldi-plp",
// "torchaudio-mfcc", "torchaudio-melspectrogram", "librosa-mfcc", "librosa-melspectrogram", "whisper", "whisper-128",
// "htk-mfcc", "python-speech-features", "opensmile-mfcc", "sphinx"; "htk-mfcc:KIND": of another target kind,
// MFCC_E_D_A_Z for example, where "htk-mfcc" is MFCC_0_D_A_Z.
// "sphinx-en-us": the static cepstra of Sphinx's US English models; "sphinx-39": the same with the mean of the
// utterance taken out and differences behind, as those models and those of kivsr train want them; "mfcc";
// "lpc-cepstrum"; "aurora"; "etsi-afe": the advanced front end at 16 kHz, with its decision about speech.
// Throws Fault for another name.
Recipe preset(const std::string& name);
// The same for audio of a rate (0: not known): etsi-afe at 8 kHz for rates below 16 kHz.
Recipe preset(const std::string& name, int file_rate);
// As the toolkit works at another rate: windows and shifts that it counts in seconds change, those that it counts in
// samples do not. Nothing where no toolkit says what changes.
std::optional<Recipe> preset_at(const std::string& name, int sample_rate);
std::vector<std::string> preset_names();

}  // namespace kivsr::speech
