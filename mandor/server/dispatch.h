// The late-bound face of the object model: every model object a host sees is
// wrapped in a NativeObject, an IDispatch driven by one member table per
// class (ClassInfo). A table lists each member once, under its exact name
// with accents, with its DISPID and its accessors (property get, let, set,
// method); each accessor knows its parameters and result type. The same
// tables answer GetIDsOfNames (names compared without regard to case),
// drive Invoke, and describe the type library.
//
// Accessors are written as lambdas over the C++ class; the templates below
// deduce the parameter list from the lambda and convert VARIANTs both ways:
//   T                    required argument of type T
//   std::optional<T>     optional argument (empty when the host omitted it)
//   Ref<T>&              by-reference argument, written back when the call changed it
//   Variant              an argument of any type (a position or a key)
// Results: void, a value type, std::optional<T> (empty gives an empty
// variant) or a std::shared_ptr to a model object (Nothing for null).
//
// The same C++ object always comes back as the same IDispatch while a host
// holds it, so that `Is` comparisons work.
//
// Owners. The C++ model holds its back-links (a field's document and page,
// a document's catalogue) weakly, so that dropping a root frees its graph.
// Hosts expect every link counted: a field they keep still has its document.
// So each dispatch object holds counted references to the owner chain of
// its object (ClassInfo::owners, followed up to the root), refreshed after
// every call on it. Model objects never hold dispatch objects (apart from
// what a host stores in Controle or Etiquette), so this adds no cycle: when
// the host lets go of its last dispatch object the graph is freed as in C++.
//
// Threading: the model runs on the host's thread (a single-threaded
// apartment); reference counts are interlocked, and the table that finds
// the dispatch object of a model object is guarded by a slim reader/writer lock.
#ifndef MANDOR_SERVER_DISPATCH_H_
#define MANDOR_SERVER_DISPATCH_H_

#include <windows.h>
#include <oleauto.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "mandor/util/collection.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/wide.h"

namespace mandor::server {

// --- strings ---
BSTR MakeBstr(std::string_view utf8);
std::string BstrToUtf8(BSTR bstr);

// A failure while converting arguments or choosing a member: Invoke returns
// hr (and reports the offending argument for a type mismatch).
struct DispatchFailure {
  HRESULT hr;
  UINT arg = 0;
};

struct ClassInfo;

// A model object together with the class it is exposed as.
struct Owned {
  std::shared_ptr<void> object;
  const ClassInfo* cls = nullptr;
};

// How a parameter or result appears in the type library: a VARTYPE, and for
// objects the class of the interface.
struct TypeSpec {
  VARTYPE vt = VT_EMPTY;  // VT_EMPTY: no result
  const ClassInfo& (*cls)() = nullptr;
};

struct ParamSpec {
  std::string name;
  TypeSpec type;
  bool optional = false;
  bool byref = false;
};

class Args;
using Invoker = std::function<void(const std::shared_ptr<void>& self, Args& args, VARIANT* result)>;

struct Accessor {
  Invoker call;  // empty when the member has no such accessor
  std::vector<ParamSpec> params;
  TypeSpec result;
  explicit operator bool() const { return static_cast<bool>(call); }
};

struct Member {
  std::string name;
  DISPID id = 0;
  Accessor get, let, set, method;
};

struct ClassInfo {
  std::string name;       // class name; the interface is "_" + name
  GUID clsid{};           // creatable classes only
  GUID iid{};
  bool creatable = false;
  std::function<std::shared_ptr<void>()> create;
  // Appends the objects that object (of this class) links back to and that
  // the model counts but C++ holds weakly; null for a class without owners.
  void (*owners)(const void* object, std::vector<Owned>& out) = nullptr;
  std::vector<Member> members;
  std::unordered_map<std::string, size_t> by_folded_name;
  std::unordered_map<DISPID, size_t> by_id;

  const Member* Find(std::string_view name) const;
  const Member* Find(DISPID id) const;
};

// The classes a host can create, in registration order.
const std::vector<const ClassInfo*>& CreatableClasses();
// The dispatch classes of the keyed collections, one per item type.
const std::vector<const ClassInfo*>& CollectionClasses();

// --- argument access for one Invoke ---
class Args {
 public:
  // Arguments in the caller's order. For a property put (count = the
  // accessor's parameters) the assigned value is the last parameter.
  explicit Args(DISPPARAMS* params, bool put = false, size_t count = 0)
      : params_(params), put_(put), count_(count) {}
  size_t size() const { return params_->cArgs; }
  // Argument i, by-reference variants followed; null when absent or omitted.
  const VARIANT* Get(size_t i) const;
  // The caller's variable behind a by-reference argument i, or null.
  VARIANT* Target(size_t i) const;
  // The argument number Invoke reports for a failure on argument i.
  UINT ErrorIndex(size_t i) const;

 private:
  VARIANT* Raw(size_t i) const;
  DISPPARAMS* params_;
  bool put_;
  size_t count_;
};

// An argument of any type.
struct Variant {
  const VARIANT* v = nullptr;  // null when omitted
  bool Missing() const { return v == nullptr || v->vt == VT_EMPTY; }
  bool IsNumber() const;
  long AsLong() const;
  std::string AsString() const;
};

// A by-reference argument: value on entry, written back to the caller's variable.
template <class T>
struct Ref {
  T value{};
  bool present = false;
};
// The same, optional.
template <class T>
struct OptRef : Ref<T> {};

// An object argument of the host's own (any automation object, or Nothing).
struct HostObject {
  const VARIANT* v = nullptr;
};

// The content of a slot that holds an object the host attached (Controle,
// Etiquette): Nothing while empty.
struct Boxed {
  const std::shared_ptr<void>* slot;
};

// The host's object kept in such a model slot. Only this server stores into
// those slots.
struct DispatchBox {
  IDispatch* object;
  explicit DispatchBox(IDispatch* d) : object(d) { object->AddRef(); }
  ~DispatchBox() { object->Release(); }
  DispatchBox(const DispatchBox&) = delete;
  DispatchBox& operator=(const DispatchBox&) = delete;
};

// --- the COM wrapper ---
// Returns the (AddRef'ed) dispatch object of object, creating it on first
// use; null for a null object. anchor, when set, is the object that object
// belongs to without a link of its own (a collection's document or page):
// the dispatch object keeps it and its owner chain alive too.
IDispatch* Wrap(std::shared_ptr<void> object, const ClassInfo& cls, Owned anchor = {});
// Appends to out the owners of object (class cls), their owners and so on
// up to the root, each once.
void OwnerChain(const void* object, const ClassInfo& cls, std::vector<std::shared_ptr<void>>& out);
// The model object behind a dispatch object of class cls, or null when
// disp is null; Error 13 when it is another kind of object.
std::shared_ptr<void> Unwrap(IUnknown* disp, const ClassInfo& cls);
// The number of live dispatch objects, enumerators and factories (DllCanUnloadNow).
LONG& LiveObjects();

template <class T>
const ClassInfo& ClassOf();

// Sets result to an enumerator over items (class cls each), for _NewEnum.
void MakeEnumerator(std::vector<std::shared_ptr<void>> items, const ClassInfo& cls, VARIANT* result);

// --- value conversions ---
void ChangeType(const VARIANT& from, VARTYPE vt, VARIANT* to);

template <class T, class = void>
struct Traits;

#define MANDOR_SCALAR_TRAITS(Type, VT, field)                                          \
  template <>                                                                          \
  struct Traits<Type> {                                                                \
    static TypeSpec Spec() { return {VT}; }                                            \
    static Type From(const VARIANT& v) {                                               \
      VARIANT t;                                                                       \
      ChangeType(v, VT, &t);                                                           \
      return static_cast<Type>(t.field);                                               \
    }                                                                                  \
    static void To(Type value, VARIANT* out) {                                         \
      out->vt = VT;                                                                    \
      out->field = value;                                                              \
    }                                                                                  \
  };
MANDOR_SCALAR_TRAITS(int16_t, VT_I2, iVal)
MANDOR_SCALAR_TRAITS(int32_t, VT_I4, lVal)
MANDOR_SCALAR_TRAITS(long, VT_I4, lVal)
MANDOR_SCALAR_TRAITS(uint8_t, VT_UI1, bVal)
MANDOR_SCALAR_TRAITS(float, VT_R4, fltVal)
MANDOR_SCALAR_TRAITS(double, VT_R8, dblVal)
#undef MANDOR_SCALAR_TRAITS

template <>
struct Traits<bool> {
  static TypeSpec Spec() { return {VT_BOOL}; }
  static bool From(const VARIANT& v) {
    VARIANT t;
    ChangeType(v, VT_BOOL, &t);
    return t.boolVal != VARIANT_FALSE;
  }
  static void To(bool value, VARIANT* out) {
    out->vt = VT_BOOL;
    out->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
};

template <>
struct Traits<std::string> {
  static TypeSpec Spec() { return {VT_BSTR}; }
  static std::string From(const VARIANT& v);
  static void To(const std::string& value, VARIANT* out);
};

// A string array crosses as a SAFEARRAY of BSTR with lower bound 0.
template <>
struct Traits<StringArray> {
  static TypeSpec Spec() { return {VT_ARRAY | VT_BSTR}; }
  static StringArray From(const VARIANT& v);
  static void To(const StringArray& value, VARIANT* out);
};

template <class T>
struct Traits<std::optional<T>> {
  static TypeSpec Spec() { return {VT_VARIANT}; }
  static void To(const std::optional<T>& value, VARIANT* out) {
    if (value) Traits<T>::To(*value, out);
  }
};

// The items a _NewEnum member hands out, and their class.
struct Enumeration {
  std::vector<std::shared_ptr<void>> items;
  const ClassInfo& (*cls)();
};

template <>
struct Traits<Enumeration> {
  static TypeSpec Spec() { return {VT_UNKNOWN}; }
  static void To(const Enumeration& value, VARIANT* out) { MakeEnumerator(value.items, value.cls(), out); }
};

template <>
struct Traits<Variant> {
  static TypeSpec Spec() { return {VT_VARIANT}; }
};

namespace detail {
void GetBoxed(const std::shared_ptr<void>& slot, VARIANT* result);
void SetBoxed(std::shared_ptr<void>& slot, const VARIANT* value);
}  // namespace detail

template <>
struct Traits<Boxed> {
  static TypeSpec Spec() { return {VT_DISPATCH}; }
  static void To(const Boxed& value, VARIANT* out) { detail::GetBoxed(*value.slot, out); }
};

template <class T>
struct Traits<std::shared_ptr<T>> {
  static TypeSpec Spec() { return {VT_DISPATCH, &ClassOf<T>}; }
  static std::shared_ptr<T> From(const VARIANT& v) {
    IUnknown* unknown = nullptr;
    if (v.vt == VT_DISPATCH) {
      unknown = v.pdispVal;
    } else if (v.vt == VT_UNKNOWN) {
      unknown = v.punkVal;
    } else if (v.vt != VT_EMPTY && v.vt != VT_NULL) {
      throw DispatchFailure{DISP_E_TYPEMISMATCH};
    }
    return std::static_pointer_cast<T>(Unwrap(unknown, ClassOf<T>()));
  }
  static void To(const std::shared_ptr<T>& value, VARIANT* out) {
    out->vt = VT_DISPATCH;
    out->pdispVal = Wrap(value, ClassOf<T>());
  }
};

// --- building the tables ---
namespace detail {

template <class A>
struct Param {  // a required argument
  using Value = std::decay_t<A>;
  static ParamSpec Spec() { return {"", Traits<Value>::Spec(), false, false}; }
  Value value;
  Param(Args& args, size_t i) : value(Convert(args, i)) {}
  static Value Convert(Args& args, size_t i) {
    const VARIANT* v = args.Get(i);
    if (v == nullptr) throw DispatchFailure{DISP_E_PARAMNOTFOUND, args.ErrorIndex(i)};
    try {
      return Traits<Value>::From(*v);
    } catch (DispatchFailure& f) {
      f.arg = args.ErrorIndex(i);
      throw;
    }
  }
  Value& get() { return value; }
  void WriteBack(Args&, size_t) {}
};

template <class T>
struct Param<std::optional<T>> {
  static ParamSpec Spec() { return {"", Traits<T>::Spec(), true, false}; }
  std::optional<T> value;
  Param(Args& args, size_t i) {
    const VARIANT* v = args.Get(i);
    if (v != nullptr) value = Param<T>::Convert(args, i);
  }
  std::optional<T>& get() { return value; }
  void WriteBack(Args&, size_t) {}
};

template <>
struct Param<HostObject> {
  static ParamSpec Spec() { return {"", {VT_DISPATCH}, false, false}; }
  HostObject value;
  Param(Args& args, size_t i) : value{args.Get(i)} {
    if (value.v == nullptr) throw DispatchFailure{DISP_E_PARAMNOTFOUND, args.ErrorIndex(i)};
  }
  HostObject& get() { return value; }
  void WriteBack(Args&, size_t) {}
};

template <>
struct Param<Variant> {
  static ParamSpec Spec() { return {"", {VT_VARIANT}, false, false}; }
  Variant value;
  Param(Args& args, size_t i) : value{args.Get(i)} {}
  Variant& get() { return value; }
  void WriteBack(Args&, size_t) {}
};

void WriteBackVariant(VARIANT* target, VARIANT* value);

// A by-reference argument is written back only when the member changed it,
// so that a host's variable keeps its own type otherwise.
template <class R, bool kOptional>
struct RefParam {
  using T = decltype(R::value);
  static ParamSpec Spec() { return {"", Traits<T>::Spec(), kOptional, true}; }
  R value;
  T original{};
  RefParam(Args& args, size_t i) {
    if (!kOptional && args.Get(i) == nullptr) throw DispatchFailure{DISP_E_PARAMNOTFOUND, args.ErrorIndex(i)};
    if (args.Get(i) != nullptr) {
      value.value = Param<T>::Convert(args, i);
      value.present = true;
      original = value.value;
    }
  }
  R& get() { return value; }
  void WriteBack(Args& args, size_t i) {
    VARIANT* target = args.Target(i);
    if (target == nullptr || !value.present || value.value == original) return;
    VARIANT v;
    VariantInit(&v);
    Traits<T>::To(value.value, &v);
    WriteBackVariant(target, &v);
  }
};

template <class T>
struct Param<Ref<T>> : RefParam<Ref<T>, false> {
  using RefParam<Ref<T>, false>::RefParam;
};
template <class T>
struct Param<OptRef<T>> : RefParam<OptRef<T>, true> {
  using RefParam<OptRef<T>, true>::RefParam;
};

template <class A>
using ParamOf = Param<std::remove_cvref_t<A>>;

template <class S>
struct IsSharedSelf : std::false_type {};
template <class T>
struct IsSharedSelf<std::shared_ptr<T>> : std::true_type {};

template <class S>
decltype(auto) SelfArg(const std::shared_ptr<void>& self) {
  using Bare = std::remove_cvref_t<S>;
  if constexpr (IsSharedSelf<Bare>::value) {
    return std::static_pointer_cast<typename Bare::element_type>(self);
  } else {
    return *static_cast<Bare*>(self.get());
  }
}

template <class R>
TypeSpec ResultSpec() {
  if constexpr (std::is_void_v<R>) {
    return {};
  } else {
    return Traits<std::remove_cvref_t<R>>::Spec();
  }
}

template <class F, class R, class S, class... A, size_t... I>
void Call(const F& f, const std::shared_ptr<void>& self, Args& args, VARIANT* result, std::index_sequence<I...>) {
  if (args.size() > sizeof...(A)) throw DispatchFailure{DISP_E_BADPARAMCOUNT};
  std::tuple<ParamOf<A>...> params{ParamOf<A>(args, I)...};
  if constexpr (std::is_void_v<R>) {
    f(SelfArg<S>(self), std::get<I>(params).get()...);
  } else {
    auto value = f(SelfArg<S>(self), std::get<I>(params).get()...);
    if (result != nullptr) Traits<std::remove_cvref_t<R>>::To(value, result);
  }
  (std::get<I>(params).WriteBack(args, I), ...);
}

std::vector<std::string> SplitNames(std::string_view names);

template <class F, class R, class S, class... A>
Accessor MakeAccessor(F f, std::string_view names, R (F::*)(S, A...) const) {
  Accessor acc;
  acc.params = {ParamOf<A>::Spec()...};
  std::vector<std::string> split = SplitNames(names);
  for (size_t i = 0; i < acc.params.size(); ++i) {
    acc.params[i].name = i < split.size() ? split[i] : "arg" + std::to_string(i + 1);
  }
  acc.result = ResultSpec<R>();
  acc.call = [f](const std::shared_ptr<void>& self, Args& args, VARIANT* result) {
    Call<F, R, S, A...>(f, self, args, result, std::index_sequence_for<A...>{});
  };
  return acc;
}

template <class T>
struct IsCollection : std::false_type {};
template <class T>
struct IsCollection<Collection<T>> : std::true_type {};
template <class T>
struct IsWeak : std::false_type {};
template <class T>
struct IsWeak<std::weak_ptr<T>> : std::true_type {};
template <class T>
struct IsShared : std::false_type {};
template <class T>
struct IsShared<std::shared_ptr<T>> : std::true_type {};

}  // namespace detail

// A keyed collection member of a document or page, handed out with that
// owner so that the collection's dispatch object keeps the owner's chain.
template <class T>
struct AnchoredCollection {
  std::shared_ptr<Collection<T>> items;  // shares ownership of the owner
  Owned owner;
};

template <class T>
struct Traits<AnchoredCollection<T>> {
  static TypeSpec Spec() { return {VT_DISPATCH, &ClassOf<Collection<T>>}; }
  static void To(const AnchoredCollection<T>& value, VARIANT* out) {
    out->vt = VT_DISPATCH;
    out->pdispVal = Wrap(value.items, ClassOf<Collection<T>>(), value.owner);
  }
};

// A keyed collection exposed on its own: it keeps its owner alive.
template <class T>
struct Traits<std::shared_ptr<Collection<T>>> {
  static TypeSpec Spec() { return {VT_DISPATCH, &ClassOf<Collection<T>>}; }
  static std::shared_ptr<Collection<T>> From(const VARIANT& v);
  static void To(const std::shared_ptr<Collection<T>>& value, VARIANT* out) {
    out->vt = VT_DISPATCH;
    out->pdispVal = Wrap(value, ClassOf<Collection<T>>());
  }
};

template <class T>
std::shared_ptr<Collection<T>> Traits<std::shared_ptr<Collection<T>>>::From(const VARIANT& v) {
  if (v.vt != VT_DISPATCH && v.vt != VT_UNKNOWN) throw DispatchFailure{DISP_E_TYPEMISMATCH};
  return std::static_pointer_cast<Collection<T>>(Unwrap(v.punkVal, ClassOf<Collection<T>>()));
}

// Fills a ClassInfo; members keep the order of their first mention.
template <class C>
class Builder {
 public:
  Builder(ClassInfo& info) : info_(info) {}

  // A read-only property (or a property get with arguments).
  template <class F>
  Builder& Get(std::string_view name, F f, std::string_view params = {}) {
    return Put(&Member::get, name, std::move(f), params);
  }
  // Property let: the lambda takes the object, the arguments, then the value.
  template <class F>
  Builder& Let(std::string_view name, F f, std::string_view params = {}) {
    return Put(&Member::let, name, std::move(f), params);
  }
  template <class F>
  Builder& Set(std::string_view name, F f, std::string_view params = {}) {
    return Put(&Member::set, name, std::move(f), params);
  }
  template <class F>
  Builder& Method(std::string_view name, F f, std::string_view params = {}) {
    return Put(&Member::method, name, std::move(f), params);
  }
  // A member the automation interface names but cannot serve (XML nodes,
  // file numbers of the caller's runtime): calling it raises Error 5. The
  // type library still declares its parameters and result.
  Builder& Unavailable(std::string_view name, std::string_view why, std::vector<ParamSpec> params = {},
                       TypeSpec result = {});

  // A property with get and let (set for object references), given the
  // getter and setter as lambdas; the value type is the getter's result.
  template <class G, class S>
  Builder& Prop(std::string_view name, G get, S set) {
    using V = std::remove_cvref_t<decltype(get(std::declval<C&>()))>;
    Get(name, std::move(get));
    auto setter = [set](C& o, V value) { set(o, std::move(value)); };
    if constexpr (detail::IsShared<V>::value) {
      Set(name, setter, "value");
    } else {
      Let(name, setter, "value");
    }
    return *this;
  }

  // A public data member.
  template <class M>
  Builder& Field(std::string_view name, M C::*m) {
    if constexpr (detail::IsCollection<M>::value) {
      using Item = typename M::Ptr::element_type;
      Get(name, [m](const std::shared_ptr<C>& o) {
        return AnchoredCollection<Item>{std::shared_ptr<Collection<Item>>(o, &((*o).*m)), Owned{o, &ClassOf<C>()}};
      });
      Set(name, [m](C& o, std::shared_ptr<Collection<Item>> v) {
        if (!v) ThrowError(kObjectNotSet);
        if (v.get() != &(o.*m)) o.*m = *v;
      }, "value");
    } else if constexpr (detail::IsWeak<M>::value) {
      using Object = typename M::element_type;
      Get(name, [m](C& o) { return (o.*m).lock(); });
      Set(name, [m](C& o, std::shared_ptr<Object> v) { o.*m = v; }, "value");
    } else if constexpr (std::is_same_v<M, std::shared_ptr<void>>) {
      // An object reference: get and set (a let without Set lands here too).
      Get(name, [m](C& o) { return Boxed{&(o.*m)}; });
      Set(name, [m](C& o, HostObject v) { detail::SetBoxed(o.*m, v.v); }, "value");
    } else {
      Prop(name, [m](C& o) { return o.*m; }, [m](C& o, M v) { o.*m = std::move(v); });
    }
    return *this;
  }

  // Marks an existing member as the default member (DISPID_VALUE) or the enumerator (DISPID_NEWENUM).
  Builder& Id(std::string_view name, DISPID id);

 private:
  Member& Slot(std::string_view name);
  // Fills one of the member's accessors from a lambda.
  template <class F>
  Builder& Put(Accessor Member::*kind, std::string_view name, F f, std::string_view params) {
    Slot(name).*kind = detail::MakeAccessor(std::move(f), params, &F::operator());
    return *this;
  }
  ClassInfo& info_;
};

// Slot and Id are the same for every class.
Member& AddOrFindMember(ClassInfo& info, std::string_view name);
void SetMemberId(ClassInfo& info, std::string_view name, DISPID id);
Accessor UnavailableAccessor(std::string name, std::string why, std::vector<ParamSpec> params, TypeSpec result);

template <class C>
Member& Builder<C>::Slot(std::string_view name) {
  return AddOrFindMember(info_, name);
}
template <class C>
Builder<C>& Builder<C>::Id(std::string_view name, DISPID id) {
  SetMemberId(info_, name, id);
  return *this;
}
template <class C>
Builder<C>& Builder<C>::Unavailable(std::string_view name, std::string_view why, std::vector<ParamSpec> params,
                                    TypeSpec result) {
  Slot(name).method = UnavailableAccessor(std::string(name), std::string(why), std::move(params), result);
  return *this;
}

}  // namespace mandor::server

#endif  // MANDOR_SERVER_DISPATCH_H_
