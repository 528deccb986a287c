// The _qxppack1 extension: the effects on NumPy arrays. Checks of the caller's arrays and values
// live here; the audio runs in effect_host with the interpreter lock released.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cmath>

#include "hosts/python/effect_host.h"

namespace py = pybind11;

namespace {
constexpr int kMaxChannels = 32;
constexpr double kMaxRate = 768000;

[[noreturn]] void ValueError(const std::string& message) { throw py::value_error(message); }

// WavForm numbering of the array's sample type, and its size.
int FormOf(const py::dtype& dt) {
  if (dt.equal(py::dtype::of<int16_t>())) return 1;
  if (dt.equal(py::dtype::of<int32_t>())) return 3;
  if (dt.equal(py::dtype::of<float>())) return 4;
  if (dt.equal(py::dtype::of<double>())) return 5;
  return 0;
}

py::dtype DtypeOf(int form) {
  switch (form) {
    case 1: return py::dtype::of<int16_t>();
    case 3: return py::dtype::of<int32_t>();
    case 4: return py::dtype::of<float>();
    default: return py::dtype::of<double>();
  }
}

template <class T>
bool AllFinite(const T* p, size_t n) {
  for (size_t i = 0; i < n; ++i)
    if (!std::isfinite(p[i])) return false;
  return true;
}

int CheckRate(const py::object& rate) {
  double r = 0;
  try {
    r = rate.cast<double>();
  } catch (const py::cast_error&) {
    ValueError("sample_rate must be a number of hertz.");
  }
  if (!(r >= 1 && r <= kMaxRate) || r != std::floor(r))
    ValueError("sample_rate must be a whole number of hertz from 1 to 768000; got " + py::str(rate).cast<std::string>() + ".");
  return static_cast<int>(r);
}

// The caller's array as the effects take it; `keep` holds a C-ordered copy when one was needed.
PyAudio CheckAudio(const py::object& obj, const py::object& rate, py::array* keep) {
  if (!py::isinstance<py::array>(obj)) ValueError("audio must be a NumPy array of shape (frames, channels).");
  py::array a = py::reinterpret_borrow<py::array>(obj);
  const int form = FormOf(a.dtype());
  if (!form)
    ValueError("audio must be float32, float64, int16 or int32; got " + py::str(a.dtype()).cast<std::string>() + ".");
  if (a.ndim() != 2)
    ValueError("audio must have shape (frames, channels); got " + std::to_string(a.ndim()) +
               " dimensions (a mono signal x is x.reshape(-1, 1)).");
  if (a.shape(1) < 1 || a.shape(1) > kMaxChannels)
    ValueError("audio must have 1 to 32 channels; got " + std::to_string(a.shape(1)) + ".");
  *keep = py::array::ensure(a, py::array::c_style);
  PyAudio in;
  in.form = form;
  in.channels = static_cast<int>(a.shape(1));
  in.rate = CheckRate(rate);
  in.frames = a.shape(0);
  in.data = keep->data();
  const size_t n = static_cast<size_t>(in.frames) * in.channels;
  bool finite = form == 4 ? AllFinite(static_cast<const float*>(in.data), n)
                : form == 5 ? AllFinite(static_cast<const double*>(in.data), n) : true;
  if (!finite) ValueError("audio holds a NaN or infinite sample; replace it (numpy.nan_to_num) before processing.");
  return in;
}

py::array ToArray(std::vector<uint8_t> bytes, int form, int channels) {
  py::dtype dt = DtypeOf(form);
  const size_t frame = static_cast<size_t>(dt.itemsize()) * channels;
  py::array out(dt, {static_cast<py::ssize_t>(bytes.size() / frame), static_cast<py::ssize_t>(channels)});
  if (!bytes.empty()) std::memcpy(out.mutable_data(), bytes.data(), bytes.size() / frame * frame);
  return out;
}

template <class F>
auto Host(F&& f) -> decltype(f()) {
  try {
    return f();
  } catch (const PyHostError& e) {
    ValueError(e.message);
  }
}

void SetParam(PyEffect& e, const std::string& name, const py::handle& value) {
  const QxParamView& p = Host([&]() -> const QxParamView& { return e.Param(name); });
  if (py::isinstance<py::str>(value)) {
    const std::string text = value.cast<std::string>();
    Host([&] { e.SetText(p, text); });
  } else if (py::isinstance<py::bool_>(value) || py::isinstance<py::int_>(value) || py::isinstance<py::float_>(value) ||
             py::hasattr(value, "__float__")) {
    const double v = value.cast<double>();
    Host([&] { e.Set(p, v); });
  } else {
    ValueError(PyParamName(p) + " takes a number or a text such as '-10 dB'; got " +
               py::str(value.get_type().attr("__name__")).cast<std::string>() + ".");
  }
}

py::dict ParamInfo(const QxParamView& p) {
  static const char* kinds[] = {"continuous", "integer", "enum", "toggle"};
  py::dict d;
  d["unit"] = p.Unit;
  d["min"] = p.NaturalMin();
  d["max"] = p.NaturalMax();
  d["default"] = p.NaturalDefault();
  d["kind"] = kinds[static_cast<int>(p.Kind)];
  d["help"] = p.Help;
  d["sound"] = !p.PageOnly;
  if (p.Kind == QxParamKind::Enum) {
    py::list names;
    for (int i = 0; i < p.EnumCount; ++i) names.append(QxParamEnumName(p, i));
    d["choices"] = names;
  }
  return d;
}
}  // namespace

PYBIND11_MODULE(_qxppack1, m) {
  m.doc() = "The qxppack1 effects on NumPy arrays.";

  m.def("effects", [] {
    std::vector<std::string> names;
    for (const QxEffectView& v : QxEffectViews()) names.push_back(v.Name);
    return names;
  }, "The effects' names, in the module's class table order.");

  py::class_<PyEffect>(m, "_Effect")
      .def(py::init([](const std::string& name) { return Host([&] { return new PyEffect(name); }); }), py::arg("name"))
      .def_property_readonly("name", [](PyEffect& e) { return std::string(e.View().Name); })
      .def_property_readonly("in_place", &PyEffect::InPlace)
      .def_property_readonly("presets", &PyEffect::Presets, "The preset names, in index order.")
      .def_property_readonly("params", [](PyEffect& e) {
        py::dict d;
        for (const QxParamView& p : e.View().Params) d[py::str(PyParamName(p))] = ParamInfo(p);
        return d;
      }, "Each parameter's unit, range, default, kind and (for enumerations) choices.")
      .def("load_preset", [](PyEffect& e, const py::object& which) {
        if (py::isinstance<py::int_>(which)) {
          const long index = which.cast<long>();
          Host([&] { e.LoadPreset(index); });
        } else {
          const std::string name = py::str(which).cast<std::string>();
          Host([&] { e.LoadPreset(name); });
        }
      }, py::arg("preset"))
      .def("_has_param", [](PyEffect& e, const std::string& name) {
        try {
          e.Param(name);
          return true;
        } catch (const PyHostError&) {
          return false;
        }
      })
      .def("_get", [](PyEffect& e, const std::string& name) {
        const QxParamView& p = Host([&]() -> const QxParamView& { return e.Param(name); });
        const double v = Host([&] { return e.Get(p); });
        if (p.Kind == QxParamKind::Toggle) return py::object(py::bool_(v != 0));
        if (p.Kind == QxParamKind::Enum || (p.Kind == QxParamKind::Integer && v == std::floor(v)))
          return py::object(py::int_(static_cast<long>(v)));
        return py::object(py::float_(v));
      })
      .def("_set", [](PyEffect& e, const std::string& name, const py::object& value) { SetParam(e, name, value); })
      .def_property_readonly("state", [](PyEffect& e) {
        std::vector<uint8_t> s = Host([&] { return e.State(); });
        return py::bytes(reinterpret_cast<const char*>(s.data()), s.size());
      }, "The persistent state, as qxfx --save-state writes it.")
      .def("_load_state", [](PyEffect& e, const py::bytes& b) {
        std::string s = b;
        Host([&] { e.LoadState(std::vector<uint8_t>(s.begin(), s.end())); });
      })
      .def("process", [](PyEffect& e, const py::object& audio, const py::object& sample_rate, bool tail) {
        py::array keep;
        PyAudio in = CheckAudio(audio, sample_rate, &keep);
        std::vector<uint8_t> out;
        {
          py::gil_scoped_release release;
          out = Host([&] { return e.Process(in, tail); });
        }
        return ToArray(std::move(out), in.form, in.channels);
      }, py::arg("audio"), py::arg("sample_rate"), py::arg("tail") = true,
         "A new array of the same type: the audio through the effect, with its tail when asked.")
      .def("_stream", [](PyEffect& e, const py::object& block, const py::object& sample_rate) {
        py::array keep;
        PyAudio in = CheckAudio(block, sample_rate, &keep);
        std::vector<uint8_t> out;
        {
          py::gil_scoped_release release;
          out = Host([&] { return e.Stream(in); });
        }
        return ToArray(std::move(out), in.form, in.channels);
      })
      .def("_flush", [](PyEffect& e) {
        std::vector<uint8_t> out;
        {
          py::gil_scoped_release release;
          out = Host([&] { return e.Flush(); });
        }
        return py::bytes(reinterpret_cast<const char*>(out.data()), out.size());
      })
      .def("reset", [](PyEffect& e) {
        py::gil_scoped_release release;
        e.Reset();
      }, "Drops a stream in progress; the next block starts afresh.");

  m.def("_process_file", [](const std::string& in, const std::string& out, const std::vector<py::bytes>& states) {
    std::vector<std::vector<uint8_t>> raw;
    for (const py::bytes& b : states) {
      std::string s = b;
      raw.emplace_back(s.begin(), s.end());
    }
    PyFileReport r;
    {
      py::gil_scoped_release release;
      r = Host([&] { return PyProcessFile(in, out, raw); });
    }
    py::dict d;
    d["frames_in"] = r.framesIn;
    d["frames_out"] = r.framesOut;
    d["sample_rate"] = r.rate;
    d["seconds"] = r.seconds;
    return d;
  });

  m.def("_effect_of_state", [](const py::bytes& b) -> py::object {
    std::string s = b;
    const QxEffectView* v = PyEffectOfState(std::vector<uint8_t>(s.begin(), s.end()));
    return v ? py::object(py::str(v->Name)) : py::none();
  });
}
