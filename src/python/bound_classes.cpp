#include "python/registration.hpp"

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace vekanalysis::python {

namespace {

/// Of the binding layer's own caller, which takes a null for an object.
PyObject* guarded_alloc(PyTypeObject* type, Py_ssize_t count) {
    PyObject* const object = PyType_GenericAlloc(type, count);
    if (object == nullptr) throw py::error_already_set();
    return object;
}

extern "C" PyObject* guarded_new(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    try {
        if (!py::detail::all_type_info(type).empty()) {
            // Classes that Python code derives are made with the plain one.
            type->tp_alloc = guarded_alloc;
            return py::detail::pybind11_object_new(type, args, kwargs);
        }
        const std::string text = "cannot create '" + std::string(type->tp_name) + "' instances";
        PyErr_SetString(PyExc_TypeError, text.c_str());
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return nullptr;
}

extern "C" PyObject* get_class(PyObject* self, void* /*closure*/) {
    return Py_NewRef(reinterpret_cast<PyObject*>(Py_TYPE(self)));
}

/// Whether objects of the two Python classes hold the same C++ classes.
bool hold_alike(PyTypeObject* a, PyTypeObject* b) {
    return py::detail::all_type_info(a) == py::detail::all_type_info(b);
}

extern "C" int set_class(PyObject* self, PyObject* value, void* /*closure*/) {
    auto* const base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
    if (value != nullptr && PyType_Check(value) != 0) {
        auto* const type = reinterpret_cast<PyTypeObject*>(value);
        if (PyType_IsSubtype(type, base) != 0 && !hold_alike(Py_TYPE(self), type)) {
            const auto text = std::string("a '") + Py_TYPE(self)->tp_name + "' cannot become a '" +
                              type->tp_name + "'";
            PyErr_SetString(PyExc_TypeError, text.c_str());
            return -1;
        }
    }
    const auto members = py::reinterpret_steal<py::object>(PyType_GetDict(&PyBaseObject_Type));
    PyObject* const plain = PyDict_GetItemString(members.ptr(), "__class__");
    return Py_TYPE(plain)->tp_descr_set(plain, self, value);
}

}  // namespace

void require_constructed(py::handle source, const py::detail::type_info* type) {
    if (!source || type == nullptr || PyObject_TypeCheck(source.ptr(), type->type) == 0) return;
    auto* const instance = reinterpret_cast<py::detail::instance*>(source.ptr());
    if (instance->get_value_and_holder(type).value_ptr() == nullptr) {
        throw py::type_error(std::string(type->type->tp_name) +
                             ".__init__() must be called before the object is used");
    }
}

void refuse_interpolation(py::handle source) {
    if (!py::isinstance<spline::Type>(source)) return;
    throw py::type_error("a number is needed, not " + std::string(py::str(source)) +
                         "; interpolation= is the argument for it");
}

void clear_refusal() {
    if (PyErr_ExceptionMatches(PyExc_Exception) == 0 ||
        PyErr_ExceptionMatches(PyExc_MemoryError) != 0) {
        throw py::error_already_set();
    }
    PyErr_Clear();
}

void keep_memory_errors() {
    py::register_local_exception_translator([](std::exception_ptr error) {
        const bool is_known =
            PyErr_Occurred() != nullptr && PyErr_ExceptionMatches(PyExc_MemoryError) != 0;
        if (!is_known) std::rethrow_exception(std::move(error));
    });
}

void guard_base_class() {
    auto* const base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
    base->tp_new = guarded_new;
    base->tp_alloc = guarded_alloc;
    static PyGetSetDef guarded_class{"__class__", get_class, set_class, "The class of the object.",
                                     nullptr};
    const auto descriptor =
        py::reinterpret_steal<py::object>(PyDescr_NewGetSet(base, &guarded_class));
    const auto members = py::reinterpret_steal<py::object>(PyType_GetDict(base));
    if (!descriptor || PyDict_SetItemString(members.ptr(), "__class__", descriptor.ptr()) != 0) {
        throw py::error_already_set();
    }
    PyType_Modified(base);
}

}  // namespace vekanalysis::python
